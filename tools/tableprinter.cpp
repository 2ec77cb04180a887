// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "tableprinter.h"

#include "textcolumns.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacketable.h>
#include <zqxmlkit/xmlrecords.h>

namespace {

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
    std::vector<Column> columns;
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

std::vector<TextColumn> headingsOf(const Table &table)
{
    std::vector<TextColumn> headings;
    for (const Column &column : table.columns)
        headings.push_back({column.heading, column.right});
    return headings;
}

class TablePrinter : public RecordPrinter
{
public:
    explicit TablePrinter(int request) : table(tableOf(request)), columns(headingsOf(table)) { }

    QByteArray print(XMLPacket &page) override
    {
        for (const XMLRecord &record : XMLRecords(page)) {
            QStringList cells;
            for (const Column &column : table.columns)
                cells << column.cell(record.element());
            columns.add(cells);
        }
        return columns.takeText();
    }

    QByteArray finish(int count) override
    {
        return QByteArray::number(count) + ' ' + (count == 1 ? table.one : table.many) + '\n';
    }

private:
    const Table table;
    TextColumns columns;
};

} // namespace

std::unique_ptr<RecordPrinter> makeTablePrinter(int request)
{
    return std::make_unique<TablePrinter>(request);
}
