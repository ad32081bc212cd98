# Fails when the shared library exports more dynamic symbols than BOUND: only
# what the export macro marks may leave it (hidden visibility for the rest).
# Usage: cmake -DNM=<nm> -DLIBRARY=<libmoxh5.so> -DBOUND=<n> -P check_exported_symbols.cmake
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE table RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()
string(REGEX MATCHALL "[^\n]+" symbols "${table}")
list(LENGTH symbols count)
if(count GREATER BOUND)
    string(REPLACE ";" "\n" listed "${symbols}")
    message(FATAL_ERROR "${LIBRARY} exports ${count} symbols, more than ${BOUND}:\n${listed}")
endif()
message(STATUS "${LIBRARY} exports ${count} symbols (bound ${BOUND})")
