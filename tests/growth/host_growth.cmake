# Counts the instructions of `ipav check` of one changed address at INTERFACES
# and at four times as many, less those of a check of one interface, which are
# of start and data model. Fails where the quotient is above MOST: linear is
# 4.00. Instructions do not depend on what else the machine does.
#   cmake -DIPAV=.. -DGENERATE=.. -DPYTHON=.. -DFOLDER=.. -DINTERFACES=..
#     -DMOST=.. -DVALGRIND=.. -P host_growth.cmake
function(count_instructions interfaces result)
  set(folder ${FOLDER}/${interfaces})
  execute_process(
    COMMAND ${PYTHON} ${GENERATE} ${interfaces} ${folder}
    COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
  # Each process of a check counts what it did since the start of the first.
  execute_process(
    COMMAND ${VALGRIND} --tool=callgrind --callgrind-out-file=/dev/null
      ${IPAV} check --timeout 0
      --running ${folder}/running.xml ${folder}/candidate.xml
    RESULT_VARIABLE status
    OUTPUT_VARIABLE answer
    ERROR_VARIABLE messages)
  if(NOT status EQUAL 0 OR NOT answer MATCHES "accepted \\(3 of 3 ")
    message(FATAL_ERROR "${interfaces}: ${status}\n${answer}${messages}")
  endif()
  string(REGEX MATCHALL "Collected : [0-9]+" counts "${messages}")
  set(most 0)
  foreach(count ${counts})
    string(REGEX REPLACE "[^0-9]" "" count ${count})
    if(count GREATER most)
      set(most ${count})
    endif()
  endforeach()
  if(most EQUAL 0)
    message(FATAL_ERROR "no count in:\n${messages}")
  endif()
  file(REMOVE_RECURSE ${folder})
  set(${result} ${most} PARENT_SCOPE)
endfunction()

math(EXPR larger "${INTERFACES} * 4")
count_instructions(1 start)
count_instructions(${INTERFACES} small)
count_instructions(${larger} large)
math(EXPR small "${small} - ${start}")
math(EXPR large "${large} - ${start}")
# A check that reads nothing does not grow either.
math(EXPR least "${INTERFACES} * 20000")
if(small LESS least)
  message(FATAL_ERROR "only ${small} instructions: nothing was judged")
endif()
math(EXPR hundredths "${large} * 100 / ${small}")
message("${small} instructions of ${INTERFACES} interfaces, ${large} of "
  "${larger}: ${hundredths} hundredths, at most ${MOST}")
if(hundredths GREATER MOST)
  message(FATAL_ERROR "grows too fast")
endif()
