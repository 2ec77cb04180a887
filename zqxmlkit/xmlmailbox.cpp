// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlmailbox.h"

#include "xmlrequester.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QCoreApplication>
#include <QTimerEvent>

namespace {

constexpr int wakeInterval = 10; // ms

} // namespace

/**
 * The packet that a mailbox sends to itself right before its request, and deletes later when it comes back. The event
 * loop that delivered the two does that once it has control again: all loops that the asked agent runs within receive()
 * have ended then, and all that it sent has been delivered.
 */
class XMLMailbox::Mark : public XMLPacket
{
public:
    explicit Mark(XMLMailbox *sender) : mailbox(sender)
    {
        setSourceAgentID(sender->getAgentID());
        setDestinationAgentID(sender->getAgentID());
    }

    ~Mark() override
    {
        if (mailbox && mailbox->currentState == Waiting)
            mailbox->finish(NoAnswer);
    }

    using XMLPacket::operator=;

private:
    const QPointer<XMLMailbox> mailbox;
};

XMLMailbox::XMLMailbox(XMLRequester *requester, XMLRouter *xmlRouter, int destination, int timeout)
    : QObject(requester), XMLAgent(NO_AGENT_TYPE), ownRequester(requester), ownRouter(xmlRouter),
      askedAgent(destination), allowedTime(timeout), currentState(Waiting), mark(nullptr)
{
    if (ownRouter)
        ownRouter->add(this);
    requester->waiting.emplace(askedAgent, this);
}

XMLMailbox::~XMLMailbox()
{
    // Agents that are told of the removal may destroy the requester, which is not to destroy this again.
    setParent(nullptr);
    if (ownRequester)
        ownRequester->waiting.erase({askedAgent, this});
    if (currentState == Waiting && ownRouter)
        ownRouter->remove(this);
}

XMLMailbox::State XMLMailbox::state() const
{
    return currentState;
}

int XMLMailbox::destination() const
{
    return askedAgent;
}

int XMLMailbox::mailboxID() const
{
    return getAgentID();
}

void XMLMailbox::cancel()
{
    if (currentState == Waiting)
        finish(Cancelled);
}

void XMLMailbox::ask(XMLAction &action, bool answeredAtOnce)
{
    // What is sent to a router that is being destroyed would never be deleted.
    if (!ownRouter || !ownRouter->contains(XMLRouter::getXMLCommServerID()))
        return finish(AgentGone);
    if (answeredAtOnce) {
        auto *const before = new Mark(this);
        mark = before;
        ownRouter->send(before);
    }
    XMLPacket *const packet = getXMLPacket(askedAgent);
    packet->append(action);
    ownRouter->send(packet);
    if (allowedTime >= 0)
        timer.start(allowedTime, this);
}

void XMLMailbox::rest()
{
    timer.stop();
}

void XMLMailbox::finish(State newState)
{
    currentState = newState;
    timer.stop();
    wake.stop();
    if (ownRequester)
        ownRequester->waiting.erase({askedAgent, this});
    QMetaObject::invokeMethod(this, &XMLMailbox::finished, Qt::QueuedConnection);
    if (ownRouter)
        ownRouter->remove(this);
}

void XMLMailbox::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == timer.timerId())
        finish(TimedOut);
    else if (event->timerId() == wake.timerId())
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    else
        QObject::timerEvent(event);
}

void XMLMailbox::receive(XMLPacket *packet)
{
    if (!packet)
        return;
    if (packet->getSourceAgentID() != getAgentID())
        return take(std::unique_ptr<XMLPacket>(packet));
    if (packet == mark)
        return beginRequest(packet);
    delete packet;
    finish(AgentGone);
}

void XMLMailbox::beginRequest(XMLPacket *returned)
{
    returned->deleteLater();
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

void XMLMailbox::customEvent(QEvent *)
{
    // The mark waits: the asked agent runs an event loop. What is deleted later may wait for a new event after that.
    if (currentState == Waiting)
        wake.start(wakeInterval, this);
}

void XMLMailbox::expectNoMore()
{
    // What the agent sent before it was removed waits in front of this packet, which is not to be a repeat of a mark.
    XMLMessage message(QStringLiteral("gone"));
    XMLPacket *const packet = getXMLPacket(getAgentID());
    packet->append(message);
    ownRouter->send(packet);
}
