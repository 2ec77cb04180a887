// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlpacket.h"

#include "constants_p.h"
#include "documentequality_p.h"
#include "dom_p.h"
#include "xmlaction.h"
#include "xmlimage.h"
#include "xmlmessage.h"
#include "xmlpacketable.h"
#include "xmlui.h"

#include <QVarLengthArray>

#include <cstdio>

ZQXML_CONSTANT XMLPacket::HEADER = QStringLiteral("header");
ZQXML_CONSTANT XMLPacket::SOURCE = QStringLiteral("src");
ZQXML_CONSTANT XMLPacket::DESTINATION = QStringLiteral("dst");
ZQXML_CONSTANT XMLPacket::BODY = QStringLiteral("body");
ZQXML_CONSTANT XMLPacket::AGENT_ID = QStringLiteral("agent_id");

using namespace zqxml;

namespace {

QDomDocument deepCopy(const QDomDocument &document)
{
    // Not cloneNode(): the clone of a document keeps a link to the document it was cloned from.
    QDomDocument copy;
    for (QDomNode child = document.firstChild(); !child.isNull(); child = child.nextSibling())
        copy.appendChild(copy.importNode(child, true));
    return copy;
}

// Lets go of the last handle that the packet has to an element whose own parent is gone. If nobody else holds it, it
// ends here. The toolkit would leave those of its children that are held with links to neighbours that are gone, which
// printing one, or appending it again, follows. So all but the last are taken out before. The last one then tells
// whether the element is there still, because somebody holds it too: then they are put back.
void letGo(QDomElement &element)
{
    const QDomNode last = element.lastChild();
    QVarLengthArray<QDomNode, 32> others;
    for (QDomNode child = element.firstChild(); child != last; child = element.firstChild()) {
        element.removeChild(child);
        others.append(child);
    }
    element.clear();
    QDomNode parent = last.parentNode();
    for (const QDomNode &child : others) {
        if (parent.isNull())
            break;
        parent.insertBefore(child, last);
    }
}

} // namespace

XMLPacket::XMLPacket() : XMLObject(XML_PACKET)
{
    init(nullptr);
}

XMLPacket::~XMLPacket()
{
    release();
}

// Elements that somebody else holds stay as they are; no handle to one is left with a link to what is gone.
void XMLPacket::release()
{
    forgetDocumentIfAlone(rootElement);
    forgetDocumentIfAlone(bodyElement);
    sourceElement.clear();
    destinationElement.clear();
    packetDocument.clear();
    if (rootElement.parentNode().isNull())
        letGo(rootElement);
    headerElement.clear();
    if (bodyElement.parentNode().isNull())
        letGo(bodyElement);
}

void XMLPacket::init(const XMLPacket *other)
{
    if (other) {
        const QDomDocument copy = deepCopy(other->packetDocument);
        release();
        packetDocument = copy;
        rootElement = packetDocument.documentElement();
        headerElement = getElement(rootElement, HEADER);
        sourceElement = getElement(headerElement, SOURCE);
        destinationElement = getElement(headerElement, DESTINATION);
        bodyElement = getElement(rootElement, BODY);
        return;
    }
    release();
    packetDocument = createDocument(ZQ_NAMESPACE, rootNodeName());
    rootElement = packetDocument.documentElement();
    headerElement = createElement(rootElement, HEADER);
    sourceElement = createElement(headerElement, SOURCE);
    destinationElement = createElement(headerElement, DESTINATION);
    bodyElement = createElement(rootElement, BODY);
}

XMLPacket &XMLPacket::operator=(const XMLPacket &other)
{
    init(&other);
    return *this;
}

// Returns true when the document begins as it was made: with nothing but the ids of the agents in the header, of which
// the destination's is \a destination.
bool XMLPacket::beginsWithHeader(const QString &destination) const
{
    return rootElement == packetDocument.firstChild() && areSame(rootElement.nodeName(), rootNodeName(XML_PACKET))
        && !rootElement.hasAttributes() && headerElement == rootElement.firstChild()
        && areSame(headerElement.nodeName(), HEADER) && !headerElement.hasAttributes()
        && sourceElement == headerElement.firstChild() && areSame(sourceElement.nodeName(), SOURCE)
        && !sourceElement.hasChildNodes()
        && sourceElement.attributes().length() == (sourceElement.hasAttribute(AGENT_ID) ? 1 : 0)
        && destinationElement == sourceElement.nextSibling() && areSame(destinationElement.nodeName(), DESTINATION)
        && destinationElement.attributes().length() == (destination.isNull() ? 0 : 1);
}

bool XMLPacket::operator==(const XMLPacket &other) const
{
    if (packetDocument == other.packetDocument)
        return true;
    // Packets to different agents are the most frequent that differ.
    const QString destination = destinationElement.attribute(AGENT_ID);
    const QString otherDestination = other.destinationElement.attribute(AGENT_ID);
    if (!areSame(destination, otherDestination) && beginsWithHeader(destination)
        && other.beginsWithHeader(otherDestination))
        return false;
    return printAlike(packetDocument, other.packetDocument);
}

bool XMLPacket::operator!=(const XMLPacket &other) const
{
    return !(*this == other);
}

void XMLPacket::setSourceAgentID(int id)
{
    setAttribute(sourceElement, AGENT_ID, id);
}

int XMLPacket::getSourceAgentID()
{
    return getAttributeInt(sourceElement, AGENT_ID);
}

void XMLPacket::setDestinationAgentID(int id)
{
    setAttribute(destinationElement, AGENT_ID, id);
}

int XMLPacket::getDestinationAgentID()
{
    return getAttributeInt(destinationElement, AGENT_ID);
}

QDomElement XMLPacket::getBody() const
{
    return bodyElement;
}

bool XMLPacket::isEmpty()
{
    return !bodyElement.hasChildNodes();
}

bool XMLPacket::hasNodesOfType(XMLOBJECT_TYPE type)
{
    return XMLObject::hasNodesOfType(bodyElement, type);
}

int XMLPacket::getNodesOfType(XMLOBJECT_TYPE type, std::list<QDomNode> &out)
{
    return XMLObject::getNodesOfType(bodyElement, type, out);
}

QDomElement XMLPacket::adopt(const QDomNode &element)
{
    return bodyElement.isNull() ? QDomElement() : bodyElement.appendChild(element).toElement();
}

QDomElement XMLPacket::append(XMLPacketable &object)
{
    return adopt(object.getNode().cloneNode(true));
}

QDomElement XMLPacket::append(XMLAction &object)
{
    return adopt(object.getNode().cloneNode(true));
}

QDomElement XMLPacket::append(XMLUI &object)
{
    return adopt(object.getNode().cloneNode(true));
}

QDomElement XMLPacket::append(XMLImage &object)
{
    return adopt(object.getNode().cloneNode(true));
}

QDomElement XMLPacket::append(XMLMessage &object)
{
    return adopt(object.getNode().cloneNode(true));
}

void XMLPacket::appendV(XMLPacketable &object)
{
    adopt(object.getNodeConst());
}

void XMLPacket::appendV(XMLAction &object)
{
    adopt(object.getNodeConst());
}

void XMLPacket::appendV(XMLUI &object)
{
    adopt(object.getNodeConst());
}

void XMLPacket::appendV(XMLImage &object)
{
    adopt(object.getNodeConst());
}

void XMLPacket::appendV(XMLMessage &object)
{
    adopt(object.getNodeConst());
}

QDomElement XMLPacket::append(ZQPacketable &record, bool current)
{
    XMLPacketable converted;
    converted.setData(record);
    if (current)
        converted.setCurrent(true);
    return adopt(converted.getNodeConst());
}

void XMLPacket::appendV(ZQPacketable &record, bool current)
{
    append(record, current);
}

void XMLPacket::print()
{
    std::printf("%s", XMLObject::toString(packetDocument).toUtf8().constData());
}
