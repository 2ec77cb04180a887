// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_VALUEPRINTER_H
#define TOOLS_VALUEPRINTER_H

#include "recordprinter.h"

/** One JSON object a record, each in a line. */
class JsonPrinter : public RecordPrinter
{
public:
    QByteArray print(XMLPacket &page) override;
};

/** Comma-separated values, as RFC 4180 has them, under the names of the fields. */
class CsvPrinter : public RecordPrinter
{
public:
    QByteArray print(XMLPacket &page) override;

private:
    QStringList names;
};

#endif
