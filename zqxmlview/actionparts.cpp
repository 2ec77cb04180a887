// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "actionparts_p.h"

#include <zqxml/xmlobject.h>

#include <algorithm>

namespace {

/**
 * Shows \a visitor the element and what is below it, where elements open and close and what is between, until it
 * returns false; returns whether it never did. Not by recursion: nothing bounds the depth.
 */
template <typename Visitor>
bool visit(const QDomElement &element, Visitor &visitor)
{
    for (QDomNode node = element;;) {
        if (!node.isElement()) {
            if (!visitor.leaf(node))
                return false;
        } else if (!visitor.open(node)) {
            return false;
        } else {
            const QDomNode child = node.firstChild();
            if (!child.isNull()) {
                node = child;
                continue;
            }
            if (!visitor.close())
                return false;
        }
        for (;;) {
            if (node == element)
                return true;
            const QDomNode next = node.nextSibling();
            if (!next.isNull()) {
                node = next;
                break;
            }
            node = node.parentNode();
            if (!visitor.close())
                return false;
        }
    }
}

} // namespace

/** Notes the parts of an element. */
class ActionParts::Reader
{
public:
    explicit Reader(std::vector<Part> &noted) : parts(noted) { }

    bool open(const QDomNode &element)
    {
        parts.push_back({Kind::Element, element.nodeName(), QString()});
        const QDomNamedNodeMap attributes = element.attributes();
        const int count = attributes.length();
        for (int i = 0; i < count; ++i) {
            const QDomNode attribute = attributes.item(i);
            parts.push_back({Kind::Attribute, attribute.nodeName(), attribute.nodeValue()});
        }
        return true;
    }

    bool leaf(const QDomNode &node)
    {
        const Kind kind = kindOf(node);
        if (kind != Kind::End)
            parts.push_back({kind, QString(), node.nodeValue()});
        return true;
    }

    bool close()
    {
        parts.push_back({Kind::End, QString(), QString()});
        return true;
    }

private:
    std::vector<Part> &parts;
};

/** Compares an element with parts, without a copy. */
class ActionParts::Comparer
{
public:
    explicit Comparer(const std::vector<Part> &noted) : next(noted.begin()), end(noted.end()) { }

    bool open(const QDomNode &element)
    {
        if (next == end || next->kind != Kind::Element || next->name != element.nodeName())
            return false;
        ++next;
        const auto last = std::find_if(next, end, [](const Part &part) { return part.kind != Kind::Attribute; });
        if (next == last)
            return !element.hasAttributes();
        const QDomElement attributed = element.toElement();
        if (attributed.attributes().length() != last - next)
            return false;
        // Asking for names is cheaper than asking for attributes by number, which searches the hash table.
        const bool isSame = std::all_of(next, last, [&attributed](const Part &part) {
            const QString value = attributed.attribute(part.name);
            return value == part.value && (!value.isEmpty() || attributed.hasAttribute(part.name));
        });
        next = last;
        return isSame;
    }

    bool leaf(const QDomNode &node)
    {
        const Kind kind = kindOf(node);
        if (kind == Kind::End)
            return true;
        const bool isSame = next != end && next->kind == kind && next->value == node.nodeValue();
        next += isSame;
        return isSame;
    }

    bool close()
    {
        const bool isSame = next != end && next->kind == Kind::End;
        next += isSame;
        return isSame;
    }

private:
    std::vector<Part>::const_iterator next;
    const std::vector<Part>::const_iterator end;
};

ActionParts::ActionParts(const QDomElement &element)
{
    parts.reserve(16); // most actions have fewer
    Reader reader(parts);
    visit(element, reader);
}

/** Returns the kind of a node that is no element; End for one that is not kept. */
ActionParts::Kind ActionParts::kindOf(const QDomNode &node)
{
    switch (node.nodeType()) {
    case QDomNode::CDATASectionNode:
        return Kind::CData;
    case QDomNode::TextNode:
        return Kind::Text;
    case QDomNode::CommentNode:
        return Kind::Comment;
    default:
        return Kind::End;
    }
}

QString ActionParts::attribute(const QString &name) const
{
    for (std::size_t i = 1; i < parts.size() && parts[i].kind == Kind::Attribute; ++i) {
        if (parts[i].name == name)
            return parts[i].value;
    }
    return QString();
}

bool ActionParts::isEmpty() const
{
    return parts.empty();
}

bool ActionParts::isOf(const QDomElement &element) const
{
    Comparer comparer(parts);
    return !parts.empty() && visit(element, comparer);
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
