// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "treebuilder_p.h"

#include <zqxml/xmlpacket.h>

namespace {

// The policy may refuse a name or a text, but only when a node is created.
const QString &harmlessName()
{
    static const QString name = QStringLiteral("e");
    return name;
}

} // namespace

TreeBuilder::TreeBuilder(const QDomDocument &packetDocument) : document(packetDocument)
{
    oldRoot = document.documentElement();
    addPart(1, oldRoot, XMLPacket::HEADER);
    const QDomElement header = parts.front().element;
    addPart(2, header, XMLPacket::SOURCE);
    addPart(2, header, XMLPacket::DESTINATION);
    addPart(1, oldRoot, XMLPacket::BODY);
    for (Part &part : parts)
        part.element.parentNode().removeChild(part.element);
    document.removeChild(oldRoot);
}

void TreeBuilder::addPart(std::size_t depth, const QDomElement &parent, const QString &name)
{
    parts.push_back({depth, parent, parent.namedItem(name).toElement()});
}

// As when a packet is copied, the first child of a name is the part that the packet knows.
QDomElement TreeBuilder::takePart(const QString &name)
{
    for (auto part = parts.begin(); part != parts.end(); ++part) {
        if (part->depth != stack.size() || part->element.nodeName() != name
            || (part->depth == 2 && part->parent != stack.back()))
            continue;
        const QDomElement element = part->element;
        parts.erase(part);
        return element;
    }
    return QDomElement();
}

void TreeBuilder::openRoot(const QString &name, const QString &namespaceURI)
{
    const bool isOld = !oldRoot.isNull() && oldRoot.nodeName() == name && oldRoot.namespaceURI() == namespaceURI
        && !namespaceURI.isNull();
    if (isOld) {
        stack.push_back(oldRoot);
        return;
    }
    QDomElement root = namespaceURI.isNull() ? document.createElement(harmlessName())
                                             : document.createElementNS(namespaceURI, harmlessName());
    root.setTagName(name);
    stack.push_back(root);
}

void TreeBuilder::open(const QString &name)
{
    if (stack.size() < 3 && !parts.empty()) {
        const QDomElement part = takePart(name);
        if (!part.isNull()) {
            stack.push_back(part);
            return;
        }
    }
    QDomElement element = document.createElement(harmlessName());
    element.setTagName(name);
    stack.push_back(element);
}

void TreeBuilder::setAttribute(const QString &name, const QString &value)
{
    stack.back().setAttribute(name, value);
}

int TreeBuilder::attributeCount() const
{
    return stack.back().attributes().length();
}

void TreeBuilder::append(QDomNode node, const QString &value)
{
    node.setNodeValue(value);
    if (stack.empty())
        document.appendChild(node);
    else
        stack.back().appendChild(node);
}

void TreeBuilder::appendText(const QString &text)
{
    append(document.createTextNode(QString()), text);
}

void TreeBuilder::appendCData(const QString &text)
{
    append(document.createCDATASection(QString()), text);
}

void TreeBuilder::appendComment(const QString &text)
{
    append(document.createComment(QString()), text);
}

void TreeBuilder::close()
{
    const QDomElement closed = stack.back();
    stack.pop_back();
    if (stack.empty())
        document.appendChild(closed);
    else
        stack.back().appendChild(closed);
}

void TreeBuilder::abandon()
{
    while (!stack.empty())
        close();
    if (document.documentElement().isNull() && !oldRoot.isNull())
        document.appendChild(oldRoot);
    for (Part &part : parts) {
        if (part.element.parentNode().isNull())
            document.documentElement().appendChild(part.element);
    }
}
