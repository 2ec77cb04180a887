// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "pageasker.h"

#include "recordprinter.h"
#include "toolsupport.h"

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

XMLMailbox::State askPages(ZQCommServer &server, const Query &query, const TakePage &take, QString *traceError)
{
    Trace trace;
    XMLRouter router(&server);
    std::unique_ptr<XMLTraceRecorder> recorder;
    if (query.trace)
        router.setObserver(&trace);
    if (!query.traceFile.isEmpty()) {
        QLoggingCategory::setFilterRules(QStringLiteral("zqxml.trace=false")); // it is told at the end
        recorder = std::make_unique<XMLTraceRecorder>(&router, query.traceFile, XMLTraceRecorder::Bodies);
        if (!recorder->isRecording()) {
            *traceError = recorder->error();
            return XMLMailbox::Cancelled;
        }
    }
    XMLRequester requester(&router);
    XMLRecordServer recordServer(&server, &router, serverType);
    XMLAction action(query.question, query.request, 0);
    XMLRequester::setKeys(action, query.keys);
    if (query.withPublications)
        action.setExcludePublications(false);
    const int pageSize = query.limit > 0 ? std::min(query.limit, query.pageSize) : query.pageSize;
    const auto pages = requester.pages(recordServer.getAgentID(), action, pageSize, -1);
    const XMLMailbox::State state = Wait(*pages, query, take).run();
    // The router would abandon the request for a page that is not wanted any more.
    delete pages;
    QCoreApplication::processEvents();
    if (recorder) {
        recorder->flush();
        *traceError = recorder->error();
    }
    return state;
}
