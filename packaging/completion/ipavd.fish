# Completion of ipavd for fish: the options that its --help lists.
complete -c ipavd -f
for line in (ipavd --help)
    set -l option (string match -r '^  (?:-.,)?--([a-z-]+) +([A-Z]+(?![a-z]))?' -- $line)
    or continue
    switch "$option[3]"
        case FILE
            complete -c ipavd -l $option[2] -r -F
        case FOLDER
            complete -c ipavd -l $option[2] -x -a '(__fish_complete_directories)'
        case ''
            complete -c ipavd -l $option[2]
        case '*'
            complete -c ipavd -l $option[2] -x
    end
end
