// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_PAGEASKER_H
#define TOOLS_PAGEASKER_H

#include "query.h"

#include <zqxmlkit/xmlpages.h>

#include <functional>
#include <memory>

class XMLPacket;
class XMLRequester;
class XMLRouter;
class XMLRouterObserver;
class XMLTraceRecorder;
class ZQCommServer;

/** How far a reply has come. */
struct PagePlace {
    int records; ///< before the page
    int sourcesDone; ///< outputs or keys that the server has asked
    int sources; ///< of how many
};

/** Takes a page, which holds nothing but records and is addressed as the comm server agent's reply; false for no more.
 */
using TakePage = std::function<bool(XMLPacket &page, const PagePlace &place)>;

/** Shows or records what a router does, as a query wants. */
class Watch
{
public:
    Watch(XMLRouter &router, const Query &query);
    ~Watch();

    /** Returns why the trace that the query wants is not whole. */
    QString error();

private:
    std::unique_ptr<XMLRouterObserver> trace;
    std::unique_ptr<XMLTraceRecorder> recorder;
};

/** Asks the server of pages \a server as \a query says. The requester owns the pages. */
XMLPages *openPages(XMLRequester &requester, int server, const Query &query);

/** Gives the pages to \a take as they come. Returns how that ended. */
XMLMailbox::State waitForPages(XMLPages &pages, const Query &query, const TakePage &take);

/** Answers queries. */
class Asker
{
public:
    virtual ~Asker();

    /** Returns the place of the first of the keys that nothing has; -1 when there is none. */
    virtual int findUnknownKey(const Query &query) = 0;

    /**
     * Asks as \a query says, the way every agent of an application does, and gives the pages of the reply to \a take as
     * they come. Returns how that ended, and in \a traceError why the trace that the query wants is not whole. Without
     * a trace nothing is asked.
     */
    virtual XMLMailbox::State ask(const Query &query, const TakePage &take, QString *traceError) = 0;

    /** Returns why there is no answer, if that is known. */
    virtual QString failure() const = 0;
};

/** Asks a command server of this process. */
class StoreAsker : public Asker
{
public:
    explicit StoreAsker(ZQCommServer &commServer);
    ~StoreAsker() override;

    int findUnknownKey(const Query &query) override;
    XMLMailbox::State ask(const Query &query, const TakePage &take, QString *traceError) override;
    QString failure() const override;

private:
    ZQCommServer &server;
    QString firstFailure; ///< of the store
};

#endif
