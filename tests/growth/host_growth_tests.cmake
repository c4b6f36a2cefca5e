# How the cost of a whole `ipav check` grows, in instructions.
find_package(Python3 COMPONENTS Interpreter)
if(NOT Python3_FOUND)
  return()
endif()
add_test(NAME growth.ipav_check
  COMMAND ${CMAKE_COMMAND} -DIPAV=$<TARGET_FILE:ipav>
    -DGENERATE=${PROJECT_SOURCE_DIR}/bench/host/generate.py
    -DPYTHON=${Python3_EXECUTABLE}
    -DFOLDER=${CMAKE_CURRENT_BINARY_DIR}/growth
    -DINTERFACES=250 -DMOST=430 -DVALGRIND=${VALGRIND}
    -P ${CMAKE_CURRENT_LIST_DIR}/host_growth.cmake)
