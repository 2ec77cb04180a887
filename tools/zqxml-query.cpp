// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Asks for records the way every agent of an application does, and prints them page by page as they come.

#ifdef ZQXML_WITH_BUS
#include "busasker.h"
#endif
#include "pageasker.h"
#include "progress.h"
#include "query.h"
#include "recordprinter.h"
#include "toolsupport.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlrecords.h>

#include <QCommandLineParser>
#include <QCoreApplication>

#include <iterator>
#include <optional>

namespace {

int countOf(XMLPacket &page)
{
    const XMLRecords records(page);
    int count = 0;
    for (auto record = records.begin(); record != records.end(); ++record)
        ++count;
    return count;
}

/** Leaves the first \a count records in the page. */
void keepFirst(XMLPacket &page, int count)
{
    QDomElement body = page.getBody();
    for (int surplus = countOf(page) - count; surplus > 0; --surplus)
        body.removeChild(body.lastChild());
}

/** Prints what a query asks for. */
class Answer
{
public:
    Answer(Asker &used, const Query &asked)
        : asker(used), query(asked), printer(makePrinter(query.format, query.request))
    {
    }

    /** Returns the exit status. */
    int print()
    {
        if (const auto unknown = findUnknownKey())
            return *unknown;
        QString traceError;
        const XMLMailbox::State state = asker.ask(
            query, [this](XMLPacket &page, const PagePlace &place) { return takePage(page, place); }, &traceError);
        progress.clear();
        if (ended)
            return *ended;
        if (!asker.failure().isEmpty())
            return fail(asker.failure());
        if (state != XMLMailbox::Answered && !isFull())
            return traceError.isEmpty() ? fail(QStringLiteral("no answer"), NoAnswer) : failTrace(traceError);
        if (const auto last = writeOut(printer->finish(printed)))
            return *last;
        if (printed == 0)
            tell(QStringLiteral("nothing found: ") + whyNothing());
        return traceError.isEmpty() ? Success : failTrace(traceError);
    }

private:
    /** Returns the exit status if a key is nobody's, or cannot be looked for. */
    std::optional<int> findUnknownKey()
    {
        const int unknown = query.keys.isEmpty() ? -1 : asker.findUnknownKey(query);
        if (!asker.failure().isEmpty())
            return fail(asker.failure());
        if (unknown >= 0)
            return fail(QStringLiteral("nothing has the key ") + toText(query.keys.at(unknown)));
        return std::nullopt;
    }

    int failTrace(const QString &reason) const
    {
        return fail(query.traceFile + QStringLiteral(": ") + reason);
    }

    bool isFull() const
    {
        return query.limit > 0 && printed == query.limit;
    }

    bool takePage(XMLPacket &page, const PagePlace &place)
    {
        if (query.limit > 0)
            keepFirst(page, query.limit - printed);
        QByteArray text;
        if (!format(page, place, text))
            return false;
        progress.makeRoom();
        ended = writeOut(text);
        printed += countOf(page);
        if (progress.isDue() && place.sources > 0)
            progress.show(
                QStringLiteral("%1 records, %2 %").arg(printed).arg(place.sourcesDone * 100LL / place.sources));
        return !ended && !isFull();
    }

    bool format(XMLPacket &page, const PagePlace &place, QByteArray &text)
    {
        Records records;
        QString error;
        if (!query.rebuild)
            text = printer->print(page);
        else if (rebuild(page, place.records, records, &error))
            text = printer->printRebuilt(page, records);
        else
            ended = fail(error);
        return !ended;
    }

    QString whyNothing()
    {
        if (query.request == XMLCommServer::REQUEST_JOBS && !query.withPublications && hasPagesOfPublications())
            return QStringLiteral("the jobs there are pages of publications; --with-publications lists them");
        return QStringLiteral("there are no ") + query.question
            + (query.keys.isEmpty() ? QString() : QStringLiteral(" under the key"));
    }

    bool hasPagesOfPublications()
    {
        Query wider = query;
        wider.withPublications = true;
        wider.limit = 1;
        wider.traceFile.clear(); // which holds the question that was asked
        bool found = false;
        QString none;
        asker.ask(
            wider,
            [&found](XMLPacket &page, const PagePlace &) {
                found = !XMLRecords(page).isEmpty();
                return false;
            },
            &none);
        return found;
    }

    Asker &asker;
    const Query &query;
    const std::unique_ptr<RecordPrinter> printer;
    Progress progress;
    int printed = 0;
    std::optional<int> ended; ///< the exit status when there is nothing more to do
};

int run(const Query &query)
{
    endWhenInterrupted();
#ifdef ZQXML_WITH_BUS
    if (!query.bus.urls.isEmpty()) {
        BusAsker asker(query);
        return Answer(asker, query).print();
    }
#endif
    QString error;
    ZQCONNECTION *const connection =
        query.database.isEmpty() ? ZQOpenSampleStore(&error) : ZQOpenStore(query.database, &error);
    if (!connection)
        return fail(query.database.isEmpty() ? error : ZQPublicName(query.database) + QStringLiteral(": ") + error);
    ZQHoldSnapshot(connection);
    ZQCommServer server(connection);
    StoreAsker asker(server);
    return Answer(asker, query).print();
}

} // namespace

int main(int argc, char *argv[])
{
    prepareTool("zqxml-query");
    const QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Asks the comm server for records and prints them as they come.\n\n"
        "Jobs and publications are asked for by the keys of outputs, books by the keys of publications; without keys\n"
        "all of them are asked for. Without a database the built-in sample answers."));
    addArguments(parser);
    if (const auto status = parseCommandLine(parser))
        return *status;
    hidePasswords(argv);
    Query query;
    const QString wrong = readArguments(parser, query);
    return wrong.isEmpty() ? run(query) : fail(wrong, WrongUsage);
}
