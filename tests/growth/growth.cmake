# Counts the instructions of one callback at SIZE and at four times SIZE, and
# fails where the quotient is above MOST: linear is 4, n log n a little more,
# quadratic 16. Instructions do not depend on what else the machine does.
#   cmake -DPROGRAM=.. -DWHAT=.. -DSIZE=.. -DMOST=.. -DVALGRIND=..
#     -P growth.cmake
function(count_instructions size result)
  # A platform call turns the counting off, and its end on again.
  set(counted --toggle-collect=validate)
  foreach(function maapi confd hostd hostmw limid get)
    list(APPEND counted --toggle-collect=${function}_*)
  endforeach()
  execute_process(
    COMMAND ${VALGRIND} --tool=callgrind --callgrind-out-file=/dev/null
      --collect-atstart=no ${counted} --toggle-collect=IdVrfFromComponent
      ${PROGRAM} ${WHAT} ${size}
    RESULT_VARIABLE status
    ERROR_VARIABLE messages)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${WHAT} of ${size}: ${status}\n${messages}")
  endif()
  if(NOT messages MATCHES "Collected : ([0-9]+)")
    message(FATAL_ERROR "no count in:\n${messages}")
  endif()
  set(${result} ${CMAKE_MATCH_1} PARENT_SCOPE)
endfunction()

math(EXPR larger_size "${SIZE} * 4")
count_instructions(${SIZE} small)
count_instructions(${larger_size} large)
# A callback that gives up at once does not grow either.
math(EXPR least "${SIZE} * 1000")
if(small LESS least)
  message(FATAL_ERROR "only ${small} instructions: nothing was judged")
endif()
math(EXPR hundredths "${large} * 100 / ${small}")
message("${WHAT}: ${small} instructions of ${SIZE}, ${large} of "
  "${larger_size}: ${hundredths} hundredths, at most ${MOST}")
if(hundredths GREATER ${MOST})
  message(FATAL_ERROR "grows too fast")
endif()
