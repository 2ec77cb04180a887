# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Fails unless README shows the lines of SOURCE between the marks, and the text of EXPECTED.

file(READ "${README}" readme)
file(READ "${SOURCE}" source)
file(READ "${EXPECTED}" expected)

set(mark "    // README\n")
string(FIND "${source}" "${mark}" first)
string(FIND "${source}" "${mark}" last REVERSE)
if(first EQUAL last)
    message(FATAL_ERROR "${SOURCE} does not hold the mark twice")
endif()
string(LENGTH "${mark}" length)
math(EXPR first "${first} + ${length}")
math(EXPR length "${last} - ${first}")
string(SUBSTRING "${source}" ${first} ${length} code)
string(REPLACE "\n    " "\n" code "\n${code}")

foreach(text IN ITEMS "```cpp${code}```" "```xml\n${expected}```")
    string(FIND "${readme}" "${text}" place)
    if(place EQUAL -1)
        message("${text}")
        message(FATAL_ERROR "${README} does not show these lines")
    endif()
endforeach()
