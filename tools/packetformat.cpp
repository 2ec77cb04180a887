// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "packetformat.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>

#include <QDomDocument>
#include <QStringList>

#include <algorithm>
#include <cstdlib>
#include <list>

namespace {

/** Returns the "packetable" elements of a packet. */
QList<QDomElement> recordsOf(XMLPacket &packet)
{
    std::list<QDomNode> nodes;
    packet.getNodesOfType(XMLObject::XML_PACKETABLE, nodes);
    QList<QDomElement> elements;
    for (const QDomNode &node : nodes)
        elements << node.toElement();
    return elements;
}

/** Returns the field \a tag of a record. */
QDomElement fieldOf(const QDomElement &record, ZQDATATAG tag)
{
    return record.firstChildElement(XMLPacketable::ITEM).firstChildElement(QString::number(tag, 16));
}

QString textOf(const QDomElement &record, ZQDATATAG tag)
{
    return fieldOf(record, tag).attribute(XMLPacketable::VALUE);
}

/** Returns a field that is written in base 16 in decimal. */
QString numberOf(const QDomElement &record, ZQDATATAG tag)
{
    return QString::number(textOf(record, tag).toULongLong(nullptr, 16));
}

QString keyOf(const QDomElement &record, ZQDATATAG tag)
{
    const QDomElement field = fieldOf(record, tag);
    return field.attribute(XMLPacketable::KEY) + QLatin1Char(':') + field.attribute(XMLPacketable::HKEY);
}

QString nameOf(const QDomElement &record)
{
    return record.attribute(XMLPacketable::NAME);
}

struct Column {
    const char *heading;
    bool right; ///< aligned to the right
    QString (*cell)(const QDomElement &record);
};

struct Table {
    const char *one;
    const char *many;
    QList<Column> columns;
};

QString keyCell(const QDomElement &record)
{
    return keyOf(record, TAG_KEY);
}

Table tableOf(int request)
{
    switch (request) {
    case XMLCommServer::REQUEST_OUTPUTS:
        return {"output",
                "outputs",
                {{"NAME", false, nameOf},
                 {"KEY", true, keyCell},
                 {"JOBS", true, [](const QDomElement &record) { return numberOf(record, TAG_ENTRY_JOBS); }},
                 {"STATE", false, [](const QDomElement &record) {
                      return textOf(record, TAG_ENTRY_STATE) == QLatin1String("0") ? QStringLiteral("stopped")
                                                                                   : QStringLiteral("running");
                  }}}};
    case XMLCommServer::REQUEST_JOBS:
        return {
            "job",
            "jobs",
            {{"NAME", false, nameOf},
             {"KEY", true, keyCell},
             {"PAGE", true, [](const QDomElement &record) { return textOf(record, TAG_JOB_PAGE); }},
             {"PUBLICATION", false, [](const QDomElement &record) { return textOf(record, TAG_JOB_PUBLICATION); }}}};
    case XMLCommServer::REQUEST_PUBLICATIONS:
        return {"publication",
                "publications",
                {{"NAME", false, nameOf},
                 {"KEY", true, [](const QDomElement &record) { return keyOf(record, TAG_JOB_PUBLICATIONKEY); }},
                 {"FIRST PAGE", true, [](const QDomElement &record) { return textOf(record, TAG_JOB_PAGE); }}}};
    default:
        return {"book",
                "books",
                {{"NAME", false, nameOf},
                 {"KEY", true, keyCell},
                 {"PAGES", true, [](const QDomElement &record) { return numberOf(record, TAG_BOOK_PAGES); }},
                 {"COPIES", true, [](const QDomElement &record) { return numberOf(record, TAG_BOOK_COPIES); }}}};
    }
}

/** Returns how many places of a terminal a character takes. */
int widthOf(uint character)
{
    switch (QChar::category(character)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
        return 0;
    default:
        break;
    }
    static constexpr uint wide[][2] = {{0x1100, 0x115f},   {0x2e80, 0x303e},  {0x3041, 0xa4cf}, {0xac00, 0xd7a3},
                                       {0xf900, 0xfaff},   {0xfe30, 0xfe6f},  {0xff00, 0xff60}, {0xffe0, 0xffe6},
                                       {0x1f300, 0x1faff}, {0x20000, 0x3fffd}};
    return std::any_of(std::begin(wide), std::end(wide),
                       [character](const auto &range) { return character >= range[0] && character <= range[1]; })
        ? 2
        : 1;
}

int widthOf(const QString &text)
{
    int width = 0;
    for (const uint character : text.toUcs4())
        width += widthOf(character);
    return width;
}

/** Returns the text without characters that a terminal would act on. */
QString printable(QString text)
{
    for (QChar &character : text) {
        if (character.category() == QChar::Other_Control)
            character = QLatin1Char('?');
    }
    return text;
}

QString aligned(const QString &cell, int width, bool right)
{
    const QString blanks(std::max(0, width - widthOf(cell)), QLatin1Char(' '));
    return right ? blanks + cell : cell + blanks;
}

QByteArray lineOf(const QStringList &cells, const QList<Column> &columns, const QList<int> &widths)
{
    QString line;
    for (int i = 0; i < cells.size(); ++i) {
        if (i > 0)
            line += QStringLiteral("  ");
        line += aligned(cells.at(i), widths.at(i), columns.at(i).right);
    }
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line.toUtf8() + '\n';
}

} // namespace

QByteArray toXml(XMLPacket &packet)
{
    return packet.getBody().ownerDocument().toString(1).toUtf8();
}

QByteArray toPacketText(XMLPacket &packet)
{
    QByteArray text;
    for (const QDomElement &record : recordsOf(packet))
        text += XMLPacketable::toPacket(record).toUtf8();
    return text;
}

QByteArray toPacketText(const Records &records)
{
    QByteArray text;
    for (const auto &record : records) {
        unsigned int length = 0;
        char *const buffer = record->toPacket(length);
        text.append(buffer, static_cast<int>(length));
        std::free(buffer);
    }
    return text;
}

QByteArray toTable(XMLPacket &packet, int request)
{
    const Table table = tableOf(request);
    std::vector<QStringList> rows(1);
    for (const Column &column : table.columns)
        rows[0] << QLatin1String(column.heading);
    for (const QDomElement &record : recordsOf(packet)) {
        QStringList row;
        for (const Column &column : table.columns)
            row << printable(column.cell(record));
        rows.push_back(row);
    }
    QList<int> widths;
    for (int i = 0; i < table.columns.size(); ++i) {
        widths << 0;
        for (const QStringList &row : rows)
            widths[i] = std::max(widths.at(i), widthOf(row.at(i)));
    }
    const auto count = rows.size() - 1;
    QByteArray text;
    for (const QStringList &row : rows) {
        if (count > 0)
            text += lineOf(row, table.columns, widths);
    }
    return text + QByteArray::number(static_cast<qint64>(count)) + ' ' + (count == 1 ? table.one : table.many) + '\n';
}

bool rebuild(XMLPacket &packet, Records &records, QString *error)
{
    for (const QDomElement &element : recordsOf(packet)) {
        XMLPacketable object;
        object.setNode(element);
        std::unique_ptr<ZQPacketable> record(object.getData());
        if (!record) {
            *error = QStringLiteral("record %1 cannot be rebuilt: %2").arg(records.size() + 1).arg(object.getName());
            return false;
        }
        record->setName(object.getName().toUtf8().constData());
        records.push_back(std::move(record));
    }
    return true;
}

std::unique_ptr<XMLPacket> replaceRecords(XMLPacket &packet, const Records &records)
{
    auto replaced = std::make_unique<XMLPacket>();
    replaced->setSourceAgentID(packet.getSourceAgentID());
    replaced->setDestinationAgentID(packet.getDestinationAgentID());
    for (const auto &record : records)
        replaced->appendV(*record, false);
    return replaced;
}
