// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlpacket.h"

#include "xmlaction.h"
#include "xmlimage.h"
#include "xmlmessage.h"
#include "xmlpacketable.h"
#include "xmlui.h"

#include <algorithm>
#include <cstdio>
#include <vector>

const QString XMLPacket::HEADER = QStringLiteral("header");
const QString XMLPacket::SOURCE = QStringLiteral("src");
const QString XMLPacket::DESTINATION = QStringLiteral("dst");
const QString XMLPacket::BODY = QStringLiteral("body");
const QString XMLPacket::AGENT_ID = QStringLiteral("agent_id");

namespace {

// Two documents are equal when they print alike, apart from the order of attributes. Printing both costs several times
// what comparing the trees costs, and a difference in the trees mostly shows in the texts for certain. Where it need
// not, as with neighbouring text nodes or a comment that looks like an element, the texts have the last word.
enum class Verdict { Same, Different, Unsure };

Verdict differentIf(bool certain)
{
    return certain ? Verdict::Different : Verdict::Unsure;
}

// A name that holds none of these ends where its tag says so.
bool isPlain(const QString &name)
{
    return std::none_of(name.cbegin(), name.cend(), [](QChar c) {
        return c == QLatin1Char(' ') || c == QLatin1Char('=') || c == QLatin1Char('/') || c == QLatin1Char('<')
            || c == QLatin1Char('>') || c == QLatin1Char('"') || c == QLatin1Char('\n');
    });
}

bool hasPlainAttributes(const QDomNamedNodeMap &attributes)
{
    for (int i = 0; i < attributes.length(); ++i) {
        const QDomNode attribute = attributes.item(i);
        if (!attribute.namespaceURI().isNull() || !isPlain(attribute.nodeName()))
            return false;
    }
    return true;
}

Verdict compareAttribute(const QDomNode &attribute, const QDomNode &other)
{
    if (!attribute.namespaceURI().isNull() || !other.namespaceURI().isNull())
        return Verdict::Unsure;
    return attribute.nodeValue() == other.nodeValue() ? Verdict::Same : Verdict::Different;
}

Verdict compareAttributes(const QDomNamedNodeMap &ours, const QDomNamedNodeMap &theirs)
{
    const int count = ours.length();
    if (count == 1 && theirs.length() == 1) {
        // Asking for a name is cheaper than asking for the first attribute, which searches the hash table.
        for (const QString *const name :
             {&XMLPacketable::VALUE, &XMLPacket::AGENT_ID, &XMLPacketable::SIZE, &XMLPacketable::DATATYPE}) {
            const QDomNode attribute = ours.namedItem(*name);
            if (attribute.isNull())
                continue;
            const QDomNode other = theirs.namedItem(*name);
            if (other.isNull())
                break;
            return compareAttribute(attribute, other);
        }
    }
    bool same = count == theirs.length();
    for (int i = 0; same && i < count; ++i) {
        const QDomNode attribute = ours.item(i);
        const QDomNode other = theirs.namedItem(attribute.nodeName());
        const Verdict verdict = other.isNull() ? Verdict::Different : compareAttribute(attribute, other);
        if (verdict == Verdict::Unsure)
            return verdict;
        same = verdict == Verdict::Same;
    }
    return same ? Verdict::Same : differentIf(hasPlainAttributes(ours) && hasPlainAttributes(theirs));
}

Verdict compareElements(const QDomNode &a, const QDomNode &b)
{
    const QString name = a.nodeName();
    const QString otherName = b.nodeName();
    if (name != otherName)
        return differentIf(isPlain(name) && isPlain(otherName));
    const QString space = a.namespaceURI();
    const QString otherSpace = b.namespaceURI();
    if (space.isNull() != otherSpace.isNull() || space != otherSpace || a.prefix() != b.prefix())
        return Verdict::Unsure;
    const bool haveAttributes = a.hasAttributes() || b.hasAttributes();
    const Verdict verdict = haveAttributes ? compareAttributes(a.attributes(), b.attributes()) : Verdict::Same;
    // "<a/>" against "<a>"
    return verdict == Verdict::Same && a.hasChildNodes() != b.hasChildNodes() ? Verdict::Different : verdict;
}

bool isOnlyChild(const QDomNode &n)
{
    return n.previousSibling().isNull() && n.nextSibling().isNull();
}

Verdict compareNodes(const QDomNode &a, const QDomNode &b)
{
    const QDomNode::NodeType type = a.nodeType();
    if (type != b.nodeType())
        return Verdict::Unsure;
    switch (type) {
    case QDomNode::DocumentNode:
        return Verdict::Same;
    case QDomNode::ElementNode:
        return compareElements(a, b);
    case QDomNode::TextNode:
    case QDomNode::CDATASectionNode:
    case QDomNode::CommentNode:
        if (a.nodeValue() == b.nodeValue())
            return Verdict::Same;
        return differentIf(type == QDomNode::TextNode && isOnlyChild(a) && isOnlyChild(b));
    default:
        return Verdict::Unsure;
    }
}

// An element stands where the other tree's parent ends.
Verdict compareSurplus(const QDomNode &surplus)
{
    return differentIf(surplus.isElement() && isPlain(surplus.nodeName()));
}

// Packets of one kind mostly differ in their last value: down the last children, that is found at once. Their texts end
// alike with the end tags of the parents, whose names are the same, so what stands before must differ too.
bool differInLastLeaf(const QDomNode &parentA, const QDomNode &parentB, int levels)
{
    const QDomNode a = parentA.lastChild();
    const QDomNode b = parentB.lastChild();
    if (!a.isElement() || !b.isElement())
        return compareNodes(a, b) == Verdict::Different && hasPlainAttributes(parentA.attributes())
            && hasPlainAttributes(parentB.attributes());
    const QString name = a.nodeName();
    if (!a.hasChildNodes() || !b.hasChildNodes())
        return isPlain(name) && compareElements(a, b) == Verdict::Different;
    return levels > 0 && name == b.nodeName() && differInLastLeaf(a, b, levels - 1);
}

// Walks both trees in document order, without recursion: they may be deep.
Verdict compareTrees(const QDomDocument &documentA, const QDomDocument &documentB)
{
    QDomNode a = documentA;
    QDomNode b = documentB;
    for (;;) {
        const Verdict verdict = compareNodes(a, b);
        if (verdict != Verdict::Same)
            return verdict;
        QDomNode nextA = a.firstChild();
        QDomNode nextB = b.firstChild();
        while (nextA.isNull() && nextB.isNull()) {
            if (a == documentA)
                return Verdict::Same;
            nextA = a.nextSibling();
            nextB = b.nextSibling();
            if (nextA.isNull() && nextB.isNull()) {
                a = a.parentNode();
                b = b.parentNode();
            }
        }
        if (nextA.isNull() || nextB.isNull())
            return compareSurplus(nextA.isNull() ? nextB : nextA);
        a = nextA;
        b = nextB;
    }
}

QDomDocument deepCopy(const QDomDocument &document)
{
    // Not cloneNode(): the clone of a document keeps a link to the document it was cloned from.
    QDomDocument copy;
    for (QDomNode child = document.firstChild(); !child.isNull(); child = child.nextSibling())
        copy.appendChild(copy.importNode(child, true));
    return copy;
}

void rewriteAttributes(QDomElement element)
{
    const QDomNamedNodeMap attributes = element.attributes();
    std::vector<QDomAttr> sorted;
    sorted.reserve(static_cast<std::size_t>(attributes.length()));
    for (int i = 0; i < attributes.length(); ++i)
        sorted.push_back(attributes.item(i).toAttr());
    std::sort(sorted.begin(), sorted.end(),
              [](const QDomAttr &a, const QDomAttr &b) { return a.nodeName() < b.nodeName(); });
    for (const QDomAttr &attribute : sorted)
        element.removeAttributeNode(attribute);
    for (const QDomAttr &attribute : sorted)
        element.setAttributeNodeNS(attribute);
}

QString toText(const QDomDocument &document)
{
    QDomNode n = document;
    return XMLObject::toString(n);
}

// The order in which attributes are printed follows from the order in which they were written: it is the same in two
// copies that were written in the same order.
QString printInOneOrder(const QDomDocument &document)
{
    const QDomDocument copy = deepCopy(document);
    QDomNode n = copy;
    for (;;) {
        if (n.isElement())
            rewriteAttributes(n.toElement());
        QDomNode next = n.firstChild();
        while (next.isNull() && n != copy) {
            next = n.nextSibling();
            n = n.parentNode();
        }
        if (next.isNull())
            return toText(copy);
        n = next;
    }
}

// The toolkit leaves elements that outlive their tree with links to their former neighbours, which may be gone;
// printing one, or appending it again, follows them. So each gets a parent of its own before the document goes.
void separateContent(QDomElement &body)
{
    QDomNode child = body.firstChild();
    if (child.nextSibling().isNull())
        return;
    QDomDocument document = body.ownerDocument();
    for (QDomNode next; !child.isNull(); child = next) {
        next = child.nextSibling();
        QDomElement parent = document.createElement(XMLPacket::BODY);
        body.replaceChild(parent, child);
        parent.appendChild(child);
    }
}

} // namespace

XMLPacket::XMLPacket() : XMLObject(XML_PACKET)
{
    init(nullptr);
}

XMLPacket::~XMLPacket()
{
    separateContent(bodyElement);
}

void XMLPacket::init(const XMLPacket *other)
{
    if (other) {
        const QDomDocument copy = deepCopy(other->packetDocument);
        separateContent(bodyElement);
        packetDocument = copy;
        rootElement = packetDocument.documentElement();
        headerElement = getElement(rootElement, HEADER);
        sourceElement = getElement(headerElement, SOURCE);
        destinationElement = getElement(headerElement, DESTINATION);
        bodyElement = getElement(rootElement, BODY);
        return;
    }
    separateContent(bodyElement);
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

// Returns true when the document begins as it was made, with nothing in the header but the ids of the agents.
bool XMLPacket::beginsWithHeader() const
{
    const auto holdsNothingButID = [](const QDomElement &e) {
        return e.attributes().length() == (e.hasAttribute(AGENT_ID) ? 1 : 0);
    };
    return rootElement == packetDocument.firstChild() && rootElement.nodeName() == rootNodeName(XML_PACKET)
        && !rootElement.hasAttributes() && headerElement == rootElement.firstChild()
        && headerElement.nodeName() == HEADER && !headerElement.hasAttributes()
        && sourceElement == headerElement.firstChild() && sourceElement.nodeName() == SOURCE
        && holdsNothingButID(sourceElement) && destinationElement == sourceElement.nextSibling()
        && destinationElement.nodeName() == DESTINATION && holdsNothingButID(destinationElement);
}

bool XMLPacket::operator==(const XMLPacket &other) const
{
    if (packetDocument == other.packetDocument)
        return true;
    const bool haveSameDestination =
        destinationElement.attribute(AGENT_ID) == other.destinationElement.attribute(AGENT_ID);
    if (haveSameDestination ? differInLastLeaf(packetDocument, other.packetDocument, 16)
                            : beginsWithHeader() && other.beginsWithHeader())
        return false;
    const Verdict verdict = compareTrees(packetDocument, other.packetDocument);
    if (verdict != Verdict::Unsure)
        return verdict == Verdict::Same;
    return printInOneOrder(packetDocument) == printInOneOrder(other.packetDocument);
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
    std::printf("%s", toText(packetDocument).toUtf8().constData());
}
