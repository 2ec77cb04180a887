// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_CONSTANTS_P_H
#define ZQXML_CONSTANTS_P_H

/**
 * Stands before a constant that a global object of the application may need: where the library is linked statically, it
 * is made before such objects and goes after them, whatever the order of the files.
 */
#define ZQXML_CONSTANT [[gnu::init_priority(101)]] const QString

#endif
