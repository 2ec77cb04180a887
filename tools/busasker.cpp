// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "busasker.h"

#include "bus.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlreply.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <list>

namespace {

constexpr int defaultSeconds = 5; // to find somebody who answers

} // namespace

BusAsker::BusAsker(const Query &query)
    : router(nullptr), watch(router, query), gateway(&router, std::make_unique<XMLNatsTransport>(query.bus)),
      requester(&router), seconds(query.seconds)
{
    QObject::connect(&gateway, &XMLGateway::problem, &gateway, [this](const QString &line) { lastProblem = line; });
}

BusAsker::~BusAsker() = default;

QString BusAsker::failure() const
{
    return reason;
}

void BusAsker::giveUp()
{
    reason = QStringLiteral("nobody answers on the bus");
    if (!lastProblem.isEmpty())
        reason += QStringLiteral(": ") + lastProblem;
}

/** Returns an agent of the type; 0 when none comes in time. */
int BusAsker::findServer(int type, const QDeadlineTimer &deadline)
{
    QEventLoop loop;
    QObject::connect(&gateway, &XMLGateway::proxyAdded, &loop, &QEventLoop::quit);
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(100);
    for (;;) {
        if (const int server = anyAgentOfType(router, type))
            return server;
        if (deadline.hasExpired())
            break;
        loop.exec();
    }
    giveUp();
    return 0;
}

int BusAsker::findUnknownKey(const Query &query)
{
    const QDeadlineTimer deadline((seconds > 0 ? seconds : defaultSeconds) * 1000LL);
    XMLAction action;
    action.setType(unknownKeyRequest);
    XMLRequester::setKeys(action, query.keys);
    while (const int server = findServer(keyServerType, deadline)) {
        requester.setAnswersLater(server);
        const std::unique_ptr<XMLReply> reply(
            requester.request(server, action, seconds > 0 ? static_cast<int>(deadline.remainingTime()) : -1));
        QEventLoop loop;
        QObject::connect(reply.get(), &XMLReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
        const std::unique_ptr<XMLPacket> packet = reply->takePacket();
        std::list<QDomNode> nodes;
        if (packet && packet->getNodesOfType(XMLObject::XML_ACTION, nodes) > 0) {
            XMLAction answer;
            answer.setNode(nodes.front().toElement());
            return std::min<int>(answer.getIndex(), static_cast<int>(query.keys.size()) - 1);
        }
        if (reply->state() != XMLMailbox::AgentGone) {
            giveUp();
            break;
        }
    }
    return -1;
}

XMLMailbox::State BusAsker::ask(const Query &query, const TakePage &take, QString *traceError)
{
    *traceError = watch.error();
    if (!traceError->isEmpty())
        return XMLMailbox::Cancelled;
    const QDeadlineTimer deadline((seconds > 0 ? seconds : defaultSeconds) * 1000LL);
    Query patient = query;
    patient.seconds = 0;
    int taken = 0; // pages, of all servers together
    XMLMailbox::State state = XMLMailbox::AgentGone;
    while (state == XMLMailbox::AgentGone) {
        const int server = findServer(pageServerType, taken == 0 ? deadline : QDeadlineTimer(defaultSeconds * 1000LL));
        if (server == 0)
            return state;
        const std::unique_ptr<XMLPages> pages(openPages(requester, server, patient));
        QTimer timer;
        timer.setSingleShot(true);
        QObject::connect(&timer, &QTimer::timeout, pages.get(), &XMLPages::cancel);
        if (seconds > 0)
            timer.start(static_cast<int>(taken == 0 ? deadline.remainingTime() : seconds * 1000LL));
        int place = 0;
        bool isFull = false;
        state = waitForPages(*pages, patient, [&](XMLPacket &page, const PagePlace &at) {
            timer.stop(); // who reads the output may take his time
            if (++place > taken) { // or another server has given it before
                ++taken;
                isFull = !take(page, at);
            }
            if (seconds > 0)
                timer.start(seconds * 1000);
            return !isFull;
        });
        if (state == XMLMailbox::Cancelled && !isFull)
            reason = QStringLiteral("no answer within the time that --timeout allows");
    }
    QCoreApplication::processEvents();
    *traceError = watch.error();
    return state;
}
