// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLMAILBOX_H
#define ZQXMLKIT_XMLMAILBOX_H

#include <zqxml/xmlagent.h>
#include <zqxmlkit/zqxmlkit_export.h>

#include <QBasicTimer>
#include <QObject>
#include <QPointer>

#include <memory>

class XMLAction;
class XMLPacket;
class XMLRequester;
class XMLRouter;

/**
 * An open question to one agent, as XMLReply and XMLPages are, with an agent of its own that receives the answer. The
 * agent's id names the question and is never used again; it is unregistered when the question ends, so that what comes
 * later finds nobody. Its type is XMLAgent::NO_AGENT_TYPE.
 *
 * It is a child of its requester. The caller deletes it when it is done with it, deleteLater() in a slot of finished()
 * say; what is left goes with the requester. Deleting it at any moment ends the question without a signal.
 */
class ZQXMLKIT_EXPORT XMLMailbox : public QObject, private XMLAgent
{
    Q_OBJECT

public:
    /** How a question stands. */
    enum State : int {
        Waiting, ///< neither answered nor ended
        Answered, ///< the answer is there; of pages, the last one
        NoAnswer, ///< the agent has dealt with the question and not answered
        AgentGone, ///< no agent has the id, the agent was removed before it answered, or the router was destroyed
        TimedOut, ///< nothing came in time
        Cancelled, ///< cancel() was called, or the requester was destroyed
        Failed ///< of pages: the server could not go on; what came before is good
    };
    Q_ENUM(State)

    ~XMLMailbox() override; ///< Ends the question, without a signal.

    State state() const; ///< Returns how the question stands.
    int destination() const; ///< Returns the id of the agent that is asked.
    int mailboxID() const; ///< Returns the id that names the question.

public Q_SLOTS:
    /** Ends a question that waits. finished() is emitted from the event loop all the same. */
    void cancel();

Q_SIGNALS:
    /** The question is answered or ended. Emitted once, from the event loop, never from within a call. */
    void finished();

protected:
    /** Registers a new mailbox, a child of \a requester, that asks \a destination and waits \a timeout ms each time. */
    XMLMailbox(XMLRequester *requester, XMLRouter *xmlRouter, int destination, int timeout);

    /** Takes the \a answer. */
    virtual void take(std::unique_ptr<XMLPacket> answer) = 0;

    /** Sends \a action and waits. With \a answeredAtOnce it is noticed when the agent has not answered. */
    void ask(XMLAction &action, bool answeredAtOnce);

    /** Stops the time-out until ask() is called again. */
    void rest();

    /** Ends the question. To be the last that is done in a function: anything may be destroyed in here. */
    void finish(State newState);

    void customEvent(QEvent *event) override; ///< Looks whether the agent still runs.
    void timerEvent(QTimerEvent *event) override; ///< Ends the question for want of an answer in time.

private:
    friend class XMLRequester;
    class Mark;

    void receive(XMLPacket *packet) override;
    void beginRequest(XMLPacket *returned);
    void expectNoMore();

    const QPointer<XMLRequester> ownRequester;
    const QPointer<XMLRouter> ownRouter;
    const int askedAgent;
    const int allowedTime; // ms; negative for any
    State currentState;
    QBasicTimer timer;
    QBasicTimer wake;
    const XMLPacket *mark; // sent before the request; only compared
};

#endif
