# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Fails unless the manual page MANUAL and the shell completion COMPLETION know exactly the options of TOOL.

function(find_options variable text)
    string(REPLACE "\\-" "-" text "${text}")
    string(REGEX MATCHALL "--[a-z][-a-z]*" options "${text}")
    list(REMOVE_DUPLICATES options)
    list(SORT options)
    set(${variable} "${options}" PARENT_SCOPE)
endfunction()

execute_process(COMMAND "${TOOL}" --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
find_options(expected "${help}")
foreach(file IN ITEMS "${MANUAL}" "${COMPLETION}")
    file(READ "${file}" text)
    find_options(found "${text}")
    if(NOT found STREQUAL expected)
        message(SEND_ERROR "${file} knows ${found}\nthe tool knows ${expected}")
    endif()
endforeach()
