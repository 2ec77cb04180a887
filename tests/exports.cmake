# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Fails unless LIBRARY exports exactly the symbols in EXPECTED. Store ACTUAL there after a change that is meant.

execute_process(COMMAND "${NM}" --dynamic --defined-only --demangle --format=posix "${LIBRARY}"
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE " [A-Za-z] [0-9a-f]+( [0-9a-f]+)?\n" "\n" symbols "${symbols}")
string(REPLACE "QList<QString>" "QStringList" symbols "${symbols}") # one class in Qt 6, two in Qt 5
string(REGEX REPLACE "\n$" "" symbols "${symbols}")
string(REPLACE "\n" ";" symbols "${symbols}")
list(SORT symbols)
list(REMOVE_DUPLICATES symbols)
list(JOIN symbols "\n" symbols)
file(WRITE "${ACTUAL}" "${symbols}\n")

execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${EXPECTED}" "${ACTUAL}"
    RESULT_VARIABLE different OUTPUT_QUIET ERROR_QUIET)
if(different)
    execute_process(COMMAND diff -u "${EXPECTED}" "${ACTUAL}")
    message(FATAL_ERROR "The exported symbols are not those in ${EXPECTED}")
endif()
