# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Fails unless every program and build file in PAGES is one of FILES, which are built and run, without the licence at the
# top.

foreach(page IN LISTS PAGES)
    file(READ "${page}" text)
    string(REGEX MATCHALL "int main\\(|cmake_minimum_required" programs "${text}")
    foreach(path IN LISTS FILES)
        file(READ "${path}" file)
        string(REGEX REPLACE "^[^\n]*SPDX[^\n]*\n[^\n]*SPDX[^\n]*\n\n" "\n" file "${file}")
        string(FIND "${text}" "${file}```" place)
        if(NOT place EQUAL -1)
            list(POP_BACK programs)
        endif()
    endforeach()
    if(programs)
        message(SEND_ERROR "${page} shows something that differs from all of: ${FILES}")
    endif()
endforeach()
