// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "query.h"

#ifdef ZQXML_WITH_BUS
#include "bus.h"
#endif
#include "recordprinter.h"
#include "toolsupport.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlcommserver.h>
#include <zqxmlkit/xmlrecordserver.h>

#include <QCommandLineParser>
#include <QFileInfo>

#include <limits>

namespace {

bool parseKey(const QString &text, ZQKEY_ELEMENT &key)
{
    const QStringList halves = text.split(QLatin1Char(':'));
    bool first = false;
    bool second = false;
    if (halves.size() == 2)
        key = {halves.at(0).toUInt(&first, 16), halves.at(1).toUInt(&second, 16)};
    return first && second;
}

QString readQuestion(const QStringList &words, Query &query)
{
    static const struct {
        const char *question;
        int request;
    } questions[] = {{"outputs", XMLCommServer::REQUEST_OUTPUTS},
                     {"jobs", XMLCommServer::REQUEST_JOBS},
                     {"publications", XMLCommServer::REQUEST_PUBLICATIONS},
                     {"books", XMLCommServer::REQUEST_BOOKS}};
    if (words.isEmpty())
        return QStringLiteral("one of outputs, jobs, publications, books is needed");
    query.question = words.at(0);
    for (const auto &each : questions) {
        if (query.question == QLatin1String(each.question))
            query.request = each.request;
    }
    if (query.request == 0)
        return QStringLiteral("'%1' is none of outputs, jobs, publications, books").arg(ZQPublicName(query.question));
    if (words.size() > 1)
        return QStringLiteral("'%1' is one word too many after %2").arg(ZQPublicName(words.at(1)), query.question);
    return QString();
}

QString readKeys(const QStringList &texts, Query &query)
{
    for (const QString &text : texts) {
        ZQKEY_ELEMENT key;
        if (!parseKey(text, key))
            return QStringLiteral("'%1' is no key: two hexadecimal numbers up to ffffffff and a colon between them")
                .arg(text);
        query.keys.push_back(key);
    }
    if (!query.keys.empty() && query.request == XMLCommServer::REQUEST_OUTPUTS)
        return QStringLiteral("outputs are not asked for by key");
    return QString();
}

QString readTrace(const QCommandLineParser &parser, Query &query)
{
    const QString option = QStringLiteral("trace-file");
    query.trace = parser.isSet(QStringLiteral("trace"));
    query.traceFile = parser.value(option);
    if (query.traceFile.isEmpty() && parser.isSet(option))
        return QStringLiteral("--trace-file needs a file");
    if (query.trace && parser.isSet(option))
        return QStringLiteral("--trace and --trace-file do not go together");
    if (parser.isSet(option) && QFileInfo(query.traceFile) == QFileInfo(query.database))
        return QStringLiteral("--trace-file would replace the database");
    return QString();
}

QString readNumbers(const QCommandLineParser &parser, Query &query)
{
    const struct {
        const char *option;
        int &number;
        unsigned int largest;
    } numbers[] = {{"page-size", query.pageSize, XMLRecordServer::MAX_PAGE_SIZE},
                   {"limit", query.limit, std::numeric_limits<int>::max()},
                   {"timeout", query.seconds, std::numeric_limits<int>::max()}};
    for (const auto &each : numbers) {
        auto number = static_cast<unsigned int>(each.number);
        QString wrong = readNumber(parser, QLatin1String(each.option), 1, each.largest, number);
        if (!wrong.isEmpty())
            return wrong;
        each.number = static_cast<int>(number);
    }
    return QString();
}

} // namespace

void addArguments(QCommandLineParser &parser)
{
    const auto text = [](const char *latin1) { return QString::fromLatin1(latin1); };
    const QString number = text("N");
    parser.addPositionalArgument(text("what"), text("outputs, jobs, publications or books"),
                                 text("outputs|jobs|publications|books"));
    parser.addOptions(
        {{text("key"), text("Ask for the records under this key, hexadecimal; may be repeated."), text("KEY:HKEY")},
         {text("with-publications"), text("List the pages of publications among the jobs.")},
         {text("database"), text("Ask this SQLite file, or the database at a driver's URL."), text("FILE")},
         {text("format"),
          text(
              "Print a table (the default), the reply as xml or in wire form, the packet text of its records, or their "
              "fields as json or csv."),
          formatNames().join(QLatin1Char('|')), text("table")},
         {text("limit"), text("Print so many records at most."), number},
         {text("page-size"), text("Ask for so many records at a time, 250 by default, 1000 at most."), number},
         {text("timeout"), text("Give up when no records come for so many seconds."), text("SECONDS")},
         {text("rebuild"), text("Rebuild the records from the reply's XML and print what came back.")},
         {text("trace"), text("Show each packet as it is sent and delivered, on standard error.")},
         {text("trace-file"), text("Record what the router does, packets and all, in this file."), text("FILE")}});
#ifdef ZQXML_WITH_BUS
    addBusArguments(parser);
#endif
}

QString readArguments(const QCommandLineParser &parser, Query &query)
{
    for (const QString &wrong : {readQuestion(parser.positionalArguments(), query),
                                 readKeys(parser.values(QStringLiteral("key")), query), readNumbers(parser, query)}) {
        if (!wrong.isEmpty())
            return wrong;
    }
    query.withPublications = parser.isSet(QStringLiteral("with-publications"));
    if (query.withPublications && query.request != XMLCommServer::REQUEST_JOBS)
        return QStringLiteral("--with-publications goes with jobs only");
    query.database = parser.value(QStringLiteral("database"));
    if (query.database.isEmpty() && parser.isSet(QStringLiteral("database")))
        return QStringLiteral("--database needs a file");
    query.format = parser.value(QStringLiteral("format"));
    if (!formatNames().contains(query.format))
        return QStringLiteral("'%1' is none of the formats %2")
            .arg(query.format, formatNames().join(QStringLiteral(", ")));
    query.rebuild = parser.isSet(QStringLiteral("rebuild"));
    QString wrong = readTrace(parser, query);
#ifdef ZQXML_WITH_BUS
    if (wrong.isEmpty())
        wrong = readOptionalBus(parser, query.bus);
#endif
    return wrong;
}

QString toText(const ZQKEY_ELEMENT &key)
{
    return QString::number(key.key, 16) + QLatin1Char(':') + QString::number(key.hkey, 16);
}
