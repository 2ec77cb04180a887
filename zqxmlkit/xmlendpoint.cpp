// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlendpoint.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlui.h>

namespace {

/** Makes an object of a copy of \a element. */
template <typename Object>
std::unique_ptr<Object> toObject(const QDomElement &element)
{
    auto object = std::make_unique<Object>();
    object->setNode(element);
    return object;
}

} // namespace

XMLEndpoint::XMLEndpoint(XMLRouter *xmlRouter, int type, QObject *parent)
    : QObject(parent), XMLAgent(type), ownRouter(xmlRouter)
{
    removalNotificationsWanted = true;
    if (ownRouter)
        ownRouter->add(this);
}

XMLEndpoint::~XMLEndpoint()
{
    // Agents that are told of the removal may destroy the parent, which is not to destroy this again.
    setParent(nullptr);
    if (ownRouter)
        ownRouter->remove(this);
}

void XMLEndpoint::sendPacket(std::unique_ptr<XMLPacket> packet)
{
    // What is sent to a router that is being destroyed would never be deleted.
    if (ownRouter && ownRouter->contains(XMLRouter::getXMLCommServerID()))
        ownRouter->send(packet.release());
}

void XMLEndpoint::receive(XMLPacket *packet)
{
    if (!packet)
        return;
    const std::unique_ptr<XMLPacket> owned(packet);
    const QPointer<XMLEndpoint> alive(this);
    const int sender = packet->getSourceAgentID();
    const QString record = XMLObject::rootNodeName(XMLObject::XML_PACKETABLE);
    bool recordsSeen = false;
    for (QDomNode node = packet->getBody().firstChild(); alive && !node.isNull();) {
        const QDomElement element = node.toElement();
        node = node.nextSibling();
        if (element.tagName() != record) {
            emitContent(sender, element);
        } else if (!recordsSeen) {
            recordsSeen = true;
            Q_EMIT recordsReceived(sender, XMLRecords(*packet));
        }
    }
}

void XMLEndpoint::emitContent(int sender, const QDomElement &element)
{
    const QString name = element.tagName();
    if (name == XMLObject::rootNodeName(XMLObject::XML_ACTION))
        Q_EMIT actionReceived(sender, *toObject<XMLAction>(element));
    else if (name == XMLObject::rootNodeName(XMLObject::XML_UI))
        Q_EMIT uiReceived(sender, *toObject<XMLUI>(element));
    else if (name == XMLObject::rootNodeName(XMLObject::XML_IMAGE))
        Q_EMIT imageReceived(sender, *toObject<XMLImage>(element));
    else if (name == XMLObject::rootNodeName(XMLObject::XML_MESSAGE))
        Q_EMIT messageReceived(sender, *toObject<XMLMessage>(element));
}

void XMLEndpoint::agentRemoved(int id)
{
    Q_EMIT agentGone(id);
}
