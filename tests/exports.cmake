# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Fails unless LIBRARY exports exactly the symbols in EXPECTED, the symbols file of its Debian package. Store ACTUAL there
# after a change that is meant.

execute_process(COMMAND "${NM}" --dynamic --defined-only --demangle --format=posix "${LIBRARY}"
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE " [A-Za-z] [0-9a-f]+( [0-9a-f]+)?\n" "\n" symbols "${symbols}")
string(REGEX REPLACE "\n$" "" symbols "${symbols}")
string(REPLACE "QStringList" "QList<QString>" symbols "${symbols}") # one class in Qt 6, two in Qt 5
string(REPLACE "\n" ";" symbols "${symbols}")
list(SORT symbols)
list(REMOVE_DUPLICATES symbols)

# Those that are new get the present version.
file(READ "${EXPECTED}" expected)
string(REGEX MATCH "^[^\n]*\n" actual "${expected}")
foreach(symbol IN LISTS symbols)
    set(line "${symbol}@Base")
    if(symbol MATCHES "[(:]| for ")
        set(line "(c++)\"${line}\"")
    endif()
    set(version "${VERSION}")
    string(FIND "${expected}" " ${line} " place)
    if(NOT place EQUAL -1)
        string(SUBSTRING "${expected}" ${place} -1 rest)
        string(LENGTH " ${line} " length)
        string(SUBSTRING "${rest}" ${length} -1 rest)
        string(REGEX MATCH "^[^\n]*" version "${rest}")
    endif()
    string(APPEND actual " ${line} ${version}\n")
endforeach()
file(WRITE "${ACTUAL}" "${actual}")

if(NOT actual STREQUAL expected)
    execute_process(COMMAND diff -u "${EXPECTED}" "${ACTUAL}")
    message(FATAL_ERROR "The exported symbols are not those in ${EXPECTED}")
endif()
