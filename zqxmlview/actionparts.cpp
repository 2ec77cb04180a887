// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "actionparts_p.h"

#include <zqxml/xmlobject.h>

#include <algorithm>

ActionParts::ActionParts(const QDomElement &element)
{
    parts.reserve(16); // most actions have fewer
    // Not by recursion: nothing bounds the depth.
    for (QDomNode node = element; !node.isNull();) {
        if (node.isElement()) {
            addElement(node);
            const QDomNode child = node.firstChild();
            if (!child.isNull()) {
                node = child;
                continue;
            }
            parts.push_back({Kind::End, QString(), QString()});
        } else {
            addLeaf(node);
        }
        while (node != element && node.nextSibling().isNull()) {
            node = node.parentNode();
            parts.push_back({Kind::End, QString(), QString()});
        }
        node = node == element ? QDomNode() : node.nextSibling();
    }
}

void ActionParts::addElement(const QDomNode &element)
{
    parts.push_back({Kind::Element, element.nodeName(), QString()});
    const QDomNamedNodeMap attributes = element.attributes();
    const int count = attributes.length();
    for (int i = 0; i < count; ++i) {
        const QDomNode attribute = attributes.item(i);
        parts.push_back({Kind::Attribute, attribute.nodeName(), attribute.nodeValue()});
    }
    std::sort(parts.end() - count, parts.end(), [](const Part &a, const Part &b) { return a.name < b.name; });
}

void ActionParts::addLeaf(const QDomNode &node)
{
    if (node.isCDATASection())
        parts.push_back({Kind::CData, QString(), node.nodeValue()});
    else if (node.isText())
        parts.push_back({Kind::Text, QString(), node.nodeValue()});
    else if (node.isComment())
        parts.push_back({Kind::Comment, QString(), node.nodeValue()});
}

bool ActionParts::Part::operator==(const Part &other) const
{
    return kind == other.kind && name == other.name && value == other.value;
}

bool ActionParts::operator==(const ActionParts &other) const
{
    return parts == other.parts;
}

QDomElement ActionParts::appendTo(const QDomElement &parent) const
{
    QDomDocument document = parent.ownerDocument();
    QDomElement element = parent;
    for (const Part &part : parts) {
        switch (part.kind) {
        case Kind::Element:
            element = XMLObject::createElement(element, part.name);
            break;
        case Kind::Attribute:
            element.setAttribute(part.name, part.value);
            break;
        case Kind::Text:
            XMLObject::createTextNodeV(element, part.value);
            break;
        case Kind::CData:
            element.appendChild(document.createCDATASection(part.value));
            break;
        case Kind::Comment:
            element.appendChild(document.createComment(part.value));
            break;
        case Kind::End:
            element = element.parentNode().toElement();
            break;
        }
    }
    return parts.empty() ? QDomElement() : parent.lastChild().toElement();
}
