# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Fails unless PAGE shows each of FILES, without the licence at the top.

file(READ "${PAGE}" page)
foreach(path IN LISTS FILES)
    file(READ "${path}" text)
    string(REGEX REPLACE "^[^\n]*SPDX[^\n]*\n[^\n]*SPDX[^\n]*\n\n" "\n" text "${text}")
    string(FIND "${page}" "${text}```" place)
    if(place EQUAL -1)
        message(SEND_ERROR "${PAGE} does not show ${path} as it is")
    endif()
endforeach()
