// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_RECORDPRINTER_H
#define TOOLS_RECORDPRINTER_H

#include "rebuild.h"

#include <QByteArray>
#include <QStringList>

#include <memory>

class XMLPacket;

/** Turns the records of a reply, page by page, into text of one format. */
class RecordPrinter
{
public:
    RecordPrinter() = default;
    virtual ~RecordPrinter() = default;
    Q_DISABLE_COPY(RecordPrinter)

    /** Returns the text of the records in \a page, in whole lines. */
    virtual QByteArray print(XMLPacket &page) = 0;

    /** As print(), with \a records, which were rebuilt from the page. */
    virtual QByteArray printRebuilt(XMLPacket &page, const Records &records);

    /** Returns the text behind the last page; \a count records were printed. */
    virtual QByteArray finish(int count);
};

/** Returns the names of all formats. */
QStringList formatNames();

/** Returns a printer of the format \a format for the reply to \a request. */
std::unique_ptr<RecordPrinter> makePrinter(const QString &format, int request);

/** Returns the packet's document as text. */
QByteArray toXml(XMLPacket &packet);

#endif
