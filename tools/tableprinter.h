// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_TABLEPRINTER_H
#define TOOLS_TABLEPRINTER_H

#include "recordprinter.h"

/** Returns a printer of aligned columns under a heading, and of a count, for the reply to \a request. */
std::unique_ptr<RecordPrinter> makeTablePrinter(int request);

#endif
