# ask.fish SCRIPT WORD...: what fish offers for the last word, one a line, when
# it has read the script.
source $argv[1]
or exit 1
for offer in (complete -C (string join ' ' -- $argv[2..]))
    string split -f 1 \t -- $offer
end
exit 0  # which a text without a tab is not
