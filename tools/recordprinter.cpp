// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "recordprinter.h"

#include "tableprinter.h"
#include "valueprinter.h"

#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxmlkit/xmlrecords.h>
#include <zqxmlkit/xmlwire.h>

#include <QDomDocument>

#include <unistd.h>

namespace {

/** The document that one packet with all records would be. */
class XmlPrinter : public RecordPrinter
{
public:
    QByteArray print(XMLPacket &page) override
    {
        static const QByteArray opening = "<body>\n";
        static const QByteArray closing = " </body>\n";
        const QByteArray text = toXml(page);
        const auto begin = text.indexOf(opening) + opening.size();
        const auto end = text.lastIndexOf(closing);
        if (end < 0) { // an empty body
            rest = opened ? rest : text;
            return QByteArray();
        }
        rest = text.mid(end);
        const auto start = opened ? begin : 0;
        opened = true;
        return text.mid(start, end - start);
    }

    QByteArray finish(int) override
    {
        return rest;
    }

private:
    bool opened = false;
    QByteArray rest;
};

/** The packet text of each record. */
class TextPrinter : public RecordPrinter
{
public:
    QByteArray print(XMLPacket &page) override
    {
        QByteArray text;
        for (const XMLRecord &record : XMLRecords(page))
            text += XMLPacketable::toPacket(record.element()).toUtf8();
        return shown(text);
    }

    QByteArray printRebuilt(XMLPacket &, const Records &records) override
    {
        return shown(toPacketText(records));
    }

private:
    /** The texts of an array are separated by carriage returns, which a terminal must not act on. */
    QByteArray shown(QByteArray text) const
    {
        return watched ? text.replace('\r', "\u240d") : text;
    }

    const bool watched = ::isatty(STDOUT_FILENO) != 0;
};

/** One packet in wire form a page, each in a line. */
class WirePrinter : public RecordPrinter
{
public:
    QByteArray print(XMLPacket &page) override
    {
        return XMLRecords(page).isEmpty() ? QByteArray() : XMLWire::toWire(page) + '\n';
    }
};

template <typename Printer>
std::unique_ptr<RecordPrinter> make(int)
{
    return std::make_unique<Printer>();
}

const struct {
    const char *name;
    std::unique_ptr<RecordPrinter> (*make)(int request);
} formats[] = {{"table", makeTablePrinter}, {"xml", make<XmlPrinter>},   {"text", make<TextPrinter>},
               {"wire", make<WirePrinter>}, {"json", make<JsonPrinter>}, {"csv", make<CsvPrinter>}};

} // namespace

QByteArray RecordPrinter::printRebuilt(XMLPacket &page, const Records &records)
{
    return print(*replaceRecords(page, records));
}

QByteArray RecordPrinter::finish(int)
{
    return QByteArray();
}

QStringList formatNames()
{
    QStringList names;
    for (const auto &format : formats)
        names << QLatin1String(format.name);
    return names;
}

std::unique_ptr<RecordPrinter> makePrinter(const QString &format, int request)
{
    return formats[formatNames().indexOf(format)].make(request);
}

QByteArray toXml(XMLPacket &packet)
{
    return packet.getBody().ownerDocument().toString(1).toUtf8();
}
