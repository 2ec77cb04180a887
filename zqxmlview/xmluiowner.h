// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_XMLUIOWNER_H
#define ZQXMLVIEW_XMLUIOWNER_H

#include <zqxml/xmlui.h>
#include <zqxmlkit/xmlendpoint.h>
#include <zqxmlview/zqxmlview_export.h>

#include <QBasicTimer>

#include <functional>
#include <list>
#include <set>

/**
 * The agent that a user interface belongs to: holds it, changes its actions, sends it to the agents that show it, and
 * takes what is triggered there.
 * \code
 * XMLUIOwner queue(&router, QUEUE, QStringLiteral("Queue"));
 * XMLAction hold(QStringLiteral("Hold"), HOLD, queue.getAgentID());
 * queue.append(hold);
 * queue.show(view); // the id of an XMLUIAgent, or of any agent that understands user interfaces
 * QObject::connect(&queue, &XMLUIOwner::triggered, [&](int, XMLAction &action) {
 *     queue.change(HOLD, action.getOriginator(), [](XMLAction &own) { own.setEnabled(false); });
 * });
 * \endcode
 * However much is changed, the user interface is sent once per turn of the event loop. It is also sent to a view that
 * triggered something, changed or not: that is how a view learns that a click was refused.
 */
class ZQXMLVIEW_EXPORT XMLUIOwner : public XMLEndpoint
{
    Q_OBJECT

public:
    /** Makes an agent of type \a type with an empty user interface \a name, and registers it with \a router. */
    XMLUIOwner(XMLRouter *router, int type, const QString &name, QObject *parent = nullptr);

    /** Appends a copy of \a action. */
    void append(XMLAction &action);

    /**
     * Calls \a function with a copy of each action whose type and originator read as these, in their order, and keeps
     * the copy in place of the action. Returns how many there were.
     */
    int change(int type, int originator, const std::function<void(XMLAction &)> &function);

    /** Removes the actions whose type and originator read as these; returns how many. */
    int remove(int type, int originator);

    /** Sends the user interface to the agent \a view, now and whenever it has changed, until the agent goes. */
    void show(int view);

    /** Shows the agent \a view an empty user interface, and no other from then on. */
    void hide(int view);

    /** Returns the user interface; it stays the owner's. */
    const XMLUI &ui() const;

Q_SIGNALS:
    /**
     * The view \a view has triggered \a action, as it was shown there, with "checked" in its new state; it lives until
     * the signal returns. Not emitted for agents that are shown nothing, and for actions that are gone, invisible or
     * disabled by now.
     */
    void triggered(int view, XMLAction &action);

protected:
    void timerEvent(QTimerEvent *event) override; ///< Sends what has changed.

private:
    std::list<QDomElement> find(int type, int originator) const;
    void takeTrigger(int view, XMLAction &action);
    void sendToAll();
    void sendLater(int view);

    XMLUI ownUI;
    std::set<int> views;
    std::set<int> outdated; // of the views
    QBasicTimer turn;
};

#endif
