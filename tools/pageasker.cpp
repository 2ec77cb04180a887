// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "pageasker.h"

#include "recordprinter.h"
#include "toolsupport.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlrouterobserver.h>
#include <zqxmlkit/xmlrecordserver.h>
#include <zqxmlkit/xmlrequester.h>
#include <zqxmltrace/xmltracerecorder.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QLoggingCategory>

#include <algorithm>
#include <cstdio>
#include <list>

namespace {

constexpr int serverType = 1; // nobody asks for it

/** Shows each packet on standard error. */
class Trace : public XMLRouterObserver
{
public:
    void packetQueued(XMLPacket &packet) override
    {
        show("sent", packet);
    }
    void packetAboutToBeDelivered(XMLPacket &packet, int) override
    {
        show("delivered", packet);
    }

private:
    static void show(const char *event, XMLPacket &packet)
    {
        std::fprintf(stderr, "-- %s, from agent %d to agent %d --\n%s", event, packet.getSourceAgentID(),
                     packet.getDestinationAgentID(), toXml(packet).constData());
    }
};

/** Makes of a page what the comm server agent would have sent to the first agent of the router. */
void makeReply(XMLPacket &page)
{
    std::list<QDomNode> actions;
    page.getNodesOfType(XMLObject::XML_ACTION, actions);
    for (const QDomNode &action : actions)
        page.getBody().removeChild(action);
    page.setSourceAgentID(XMLRouter::getXMLCommServerID());
    page.setDestinationAgentID(1);
}

/** Waits for the pages of one request. */
class Wait
{
public:
    Wait(XMLPages &open, const Query &asked, const TakePage &taker) : pages(open), query(asked), take(taker)
    {
        QObject::connect(&pages, &XMLPages::pageReceived, &loop, [this] { takePage(); });
        QObject::connect(&pages, &XMLPages::finished, &loop, &QEventLoop::quit);
    }

    XMLMailbox::State run()
    {
        expectPage();
        loop.exec();
        endAfter(0, "");
        return pages.state();
    }

private:
    void expectPage() const
    {
        endAfter(query.seconds, "no answer within the time that --timeout allows");
    }

    void takePage()
    {
        endAfter(0, ""); // who reads the output may take his time
        const PagePlace place{pages.position(), pages.sourcesDone(), pages.sources()};
        const std::unique_ptr<XMLPacket> page = pages.takePage();
        makeReply(*page);
        if (take(*page, place))
            return expectPage();
        pages.cancel();
        loop.quit();
    }

    XMLPages &pages;
    const Query &query;
    const TakePage &take;
    QEventLoop loop;
};

} // namespace

Watch::Watch(XMLRouter &router, const Query &query)
{
    if (query.trace) {
        trace = std::make_unique<Trace>();
        router.setObserver(trace.get());
    }
    if (!query.traceFile.isEmpty()) {
        QLoggingCategory::setFilterRules(QStringLiteral("zqxml.trace=false")); // it is told at the end
        recorder = std::make_unique<XMLTraceRecorder>(&router, query.traceFile, XMLTraceRecorder::Bodies);
    }
}

Watch::~Watch() = default;

QString Watch::error()
{
    if (!recorder)
        return QString();
    recorder->flush();
    return recorder->error();
}

XMLPages *openPages(XMLRequester &requester, int server, const Query &query)
{
    XMLAction action(query.question, query.request, 0);
    XMLRequester::setKeys(action, query.keys);
    if (query.withPublications)
        action.setExcludePublications(false);
    const int pageSize = query.limit > 0 ? std::min(query.limit, query.pageSize) : query.pageSize;
    return requester.pages(server, action, pageSize, -1);
}

XMLMailbox::State waitForPages(XMLPages &pages, const Query &query, const TakePage &take)
{
    return Wait(pages, query, take).run();
}

Asker::~Asker() = default;

StoreAsker::StoreAsker(ZQCommServer &commServer) : server(commServer)
{
    ZQReport() = [this](const QString &line) {
        if (firstFailure.isEmpty())
            firstFailure = line;
    };
}

StoreAsker::~StoreAsker()
{
    ZQReport() = nullptr;
}

QString StoreAsker::failure() const
{
    return firstFailure;
}

int StoreAsker::findUnknownKey(const Query &query)
{
    for (int i = 0; i < query.keys.size() && firstFailure.isEmpty(); ++i) {
        if (server.getidfromzqkey(query.keys.at(i)) == 0)
            return i;
    }
    return -1;
}

XMLMailbox::State StoreAsker::ask(const Query &query, const TakePage &take, QString *traceError)
{
    XMLRouter router(&server);
    Watch watch(router, query);
    *traceError = watch.error();
    if (!traceError->isEmpty())
        return XMLMailbox::Cancelled;
    XMLRequester requester(&router);
    XMLRecordServer recordServer(&server, &router, serverType);
    XMLPages *const pages = openPages(requester, recordServer.getAgentID(), query);
    const XMLMailbox::State state = waitForPages(*pages, query, take);
    // The router would abandon the request for a page that is not wanted any more.
    delete pages;
    QCoreApplication::processEvents();
    *traceError = watch.error();
    return state;
}
