// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmluiowner.h"

#include <zqxml/xmlaction.h>

#include <QTimerEvent>

#include <algorithm>
#include <list>
#include <utility>

XMLUIOwner::XMLUIOwner(XMLRouter *xmlRouter, int type, const QString &name, QObject *parent)
    : XMLEndpoint(xmlRouter, type, parent), ownUI(name)
{
    connect(this, &XMLEndpoint::actionReceived, this, &XMLUIOwner::takeTrigger);
    connect(this, &XMLEndpoint::agentGone, this, [this](int agent) {
        views.erase(agent);
        outdated.erase(agent);
    });
}

void XMLUIOwner::append(XMLAction &action)
{
    ownUI.append(action);
    sendToAll();
}

std::list<QDomElement> XMLUIOwner::find(int type, int originator) const
{
    QDomElement parent = ownUI.getNode();
    std::list<QDomNode> nodes;
    XMLObject::getNodesOfType(parent, XMLObject::XML_ACTION, nodes);
    std::list<QDomElement> found;
    for (const QDomNode &node : nodes) {
        const QDomElement element = node.toElement();
        if (XMLObject::getAttributeInt(element, QStringLiteral("type")) == type
            && XMLObject::getAttributeInt(element, QStringLiteral("originator")) == originator)
            found.push_back(element);
    }
    return found;
}

int XMLUIOwner::change(int type, int originator, const std::function<void(XMLAction &)> &function)
{
    const std::list<QDomElement> found = find(type, originator);
    for (const QDomElement &element : found) {
        XMLAction action;
        action.setNode(element);
        function(action);
        QDomNode parent = element.parentNode();
        parent.replaceChild(action.getNode().cloneNode(true), element);
    }
    sendToAll();
    return static_cast<int>(found.size());
}

int XMLUIOwner::remove(int type, int originator)
{
    const std::list<QDomElement> found = find(type, originator);
    for (const QDomElement &element : found)
        element.parentNode().removeChild(element);
    sendToAll();
    return static_cast<int>(found.size());
}

void XMLUIOwner::show(int view)
{
    views.insert(view);
    sendLater(view);
}

void XMLUIOwner::hide(int view)
{
    outdated.erase(view);
    if (views.erase(view) > 0)
        send(view, XMLUI());
}

const XMLUI &XMLUIOwner::ui() const
{
    return ownUI;
}

void XMLUIOwner::takeTrigger(int view, XMLAction &action)
{
    if (views.count(view) == 0)
        return;
    sendLater(view);
    const std::list<QDomElement> found = find(action.getType(), action.getOriginator());
    const bool isOffered = std::any_of(found.begin(), found.end(), [](const QDomElement &element) {
        XMLAction own;
        own.setNode(element);
        return own.isEnabled() && own.getVisible();
    });
    if (isOffered)
        Q_EMIT triggered(view, action);
}

void XMLUIOwner::sendToAll()
{
    for (const int view : views)
        sendLater(view);
}

void XMLUIOwner::sendLater(int view)
{
    outdated.insert(view);
    turn.start(0, this);
}

void XMLUIOwner::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != turn.timerId())
        return XMLEndpoint::timerEvent(event);
    turn.stop();
    for (const int view : std::exchange(outdated, {}))
        send(view, ownUI);
}
