// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "documentequality_p.h"

#include "dom_p.h"
#include "xmlpacket.h"
#include "xmlpacketable.h"

#include <algorithm>
#include <tuple>
#include <vector>

using namespace zqxml;

namespace {

// Printing two documents costs several times what comparing their trees costs, and a difference in the trees mostly
// shows in the texts for certain. Where it need not, as with neighbouring text nodes or a comment that looks like an
// element, the texts have the last word.
enum class Verdict { Same, Different, Unsure };

Verdict differentIf(bool certain)
{
    return certain ? Verdict::Different : Verdict::Unsure;
}

// A name that is not empty and holds none of these ends where its tag says so.
bool isPlain(const QString &name)
{
    return !name.isEmpty() && std::none_of(name.cbegin(), name.cend(), [](QChar c) {
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

Verdict differentIfPlain(const QDomNamedNodeMap &ours, const QDomNamedNodeMap &theirs)
{
    return differentIf(hasPlainAttributes(ours) && hasPlainAttributes(theirs));
}

Verdict compareAttribute(const QDomNode &attribute, const QDomNode &other)
{
    if (!attribute.namespaceURI().isNull() || !other.namespaceURI().isNull())
        return Verdict::Unsure;
    return areSame(attribute.nodeValue(), other.nodeValue()) ? Verdict::Same : Verdict::Different;
}

Verdict compareEachAttribute(const QDomNamedNodeMap &ours, const QDomNamedNodeMap &theirs)
{
    for (int i = 0; i < ours.length(); ++i) {
        const QDomNode attribute = ours.item(i);
        const QDomNode other = theirs.namedItem(attribute.nodeName());
        const Verdict verdict = other.isNull() ? Verdict::Different : compareAttribute(attribute, other);
        if (verdict != Verdict::Same)
            return verdict == Verdict::Different ? differentIfPlain(ours, theirs) : verdict;
    }
    return Verdict::Same;
}

// Asking for likely names is cheaper than asking for attributes by number, which searches the hash table.
Verdict compareLikelyAttributes(const QDomNamedNodeMap &ours, const QDomNamedNodeMap &theirs, int count, bool isLeaf)
{
    static const QString *const likely[][2] = {{&XMLPacketable::SIZE, &XMLPacketable::DATATYPE},
                                               {&XMLPacketable::DATATYPE, &XMLPacketable::NAME},
                                               {&XMLPacketable::VALUE, &XMLPacket::AGENT_ID},
                                               {&XMLPacketable::KEY, &XMLPacketable::HKEY}};
    int left = count;
    for (const QString *const name : likely[(isLeaf ? 2 : 0) + (count > 1 ? 1 : 0)]) {
        const QDomNode attribute = ours.namedItem(*name);
        if (attribute.isNull())
            continue;
        const QDomNode other = theirs.namedItem(*name);
        if (other.isNull())
            return differentIfPlain(ours, theirs);
        const Verdict verdict = compareAttribute(attribute, other);
        if (verdict == Verdict::Different && count > 1)
            return differentIfPlain(ours, theirs);
        if (verdict != Verdict::Same || --left == 0)
            return verdict;
    }
    return compareEachAttribute(ours, theirs);
}

Verdict compareAttributes(const QDomNode &a, const QDomNode &b, bool isLeaf)
{
    const QDomNamedNodeMap ours = a.attributes();
    const QDomNamedNodeMap theirs = b.attributes();
    const int count = ours.length();
    if (count != theirs.length())
        return differentIfPlain(ours, theirs);
    return count == 0 ? Verdict::Same : compareLikelyAttributes(ours, theirs, count, isLeaf);
}

// A prefix is printed where there is a namespace only, but always part of the node's name.
bool haveSameSpace(const QDomNode &a, const QDomNode &b, const QString &name)
{
    const QString space = a.namespaceURI();
    const QString otherSpace = b.namespaceURI();
    if (space.isNull() && otherSpace.isNull() && std::find(name.cbegin(), name.cend(), QLatin1Char(':')) == name.cend())
        return true;
    return space.isNull() == otherSpace.isNull() && areSame(space, otherSpace) && areSame(a.prefix(), b.prefix());
}

Verdict compareElements(const QDomNode &a, const QDomNode &b, bool isLeafA, bool isLeafB)
{
    const QString name = a.nodeName();
    const QString otherName = b.nodeName();
    if (!areSame(name, otherName))
        return differentIf(isPlain(name) && isPlain(otherName));
    if (!haveSameSpace(a, b, name))
        return Verdict::Unsure;
    const Verdict verdict = compareAttributes(a, b, isLeafA);
    // "<a/>" against "<a>"
    return verdict == Verdict::Same && isLeafA != isLeafB ? Verdict::Different : verdict;
}

bool isOnlyChild(const QDomNode &n)
{
    return n.previousSibling().isNull() && n.nextSibling().isNull();
}

Verdict compareNodes(const QDomNode &a, const QDomNode &b, bool isLeafA, bool isLeafB)
{
    const QDomNode::NodeType type = a.nodeType();
    if (type != b.nodeType())
        return Verdict::Unsure;
    switch (type) {
    case QDomNode::ElementNode:
        return compareElements(a, b, isLeafA, isLeafB);
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
bool differInLastLeaf(const QDomNode &a, const QDomNode &b, int levels)
{
    const QDomNode lastA = a.lastChild();
    const QDomNode lastB = b.lastChild();
    if (a.isElement() && b.isElement()) {
        const QString name = a.nodeName();
        if (lastA.isNull() || lastB.isNull())
            return isPlain(name) && compareElements(a, b, lastA.isNull(), lastB.isNull()) == Verdict::Different;
        return levels > 0 && areSame(name, b.nodeName()) && differInLastLeaf(lastA, lastB, levels - 1);
    }
    return a.isText() && compareNodes(a, b, true, true) == Verdict::Different
        && hasPlainAttributes(a.parentNode().attributes()) && hasPlainAttributes(b.parentNode().attributes());
}

/** The first children of two nodes, and in their place later the next ones. */
struct Children {
    Children(const QDomNode &parentA, const QDomNode &parentB) : a(parentA.firstChild()), b(parentB.firstChild()) { }

    QDomNode a;
    QDomNode b;
};

// Walks both trees in document order, without recursion: they may be deep.
Verdict compareTrees(const QDomDocument &documentA, const QDomDocument &documentB)
{
    std::vector<Children> levels;
    levels.reserve(16);
    levels.emplace_back(documentA, documentB);
    for (;;) {
        const QDomNode &a = levels.back().a;
        const QDomNode &b = levels.back().b;
        if (a.isNull() != b.isNull())
            return compareSurplus(a.isNull() ? b : a);
        if (!a.isNull()) {
            levels.emplace_back(a, b);
            const Children &parents = levels[levels.size() - 2];
            const Verdict verdict =
                compareNodes(parents.a, parents.b, levels.back().a.isNull(), levels.back().b.isNull());
            if (verdict != Verdict::Same)
                return verdict;
        } else {
            levels.pop_back();
            if (levels.empty())
                return Verdict::Same;
            levels.back().a = levels.back().a.nextSibling();
            levels.back().b = levels.back().b.nextSibling();
        }
    }
}

std::vector<QDomAttr> sortedAttributes(const QDomElement &element)
{
    const QDomNamedNodeMap attributes = element.attributes();
    std::vector<QDomAttr> sorted;
    sorted.reserve(static_cast<std::size_t>(attributes.length()));
    for (int i = 0; i < attributes.length(); ++i)
        sorted.push_back(attributes.item(i).toAttr());
    const auto keyOf = [](const QDomAttr &attribute) {
        return std::make_tuple(!attribute.prefix().isNull(), attribute.nodeName(), attribute.namespaceURI(),
                               attribute.value());
    };
    std::sort(sorted.begin(), sorted.end(),
              [keyOf](const QDomAttr &a, const QDomAttr &b) { return keyOf(a) < keyOf(b); });
    return sorted;
}

// Returns a copy of an element without its children. The order in which attributes are printed follows from the order
// in which they were written, so that is one in all copies. A new element: the toolkit loses attributes when one of two
// with the same local name is removed.
QDomElement copyInOrder(QDomDocument &document, const QDomElement &element)
{
    const QString space = element.namespaceURI();
    QDomElement copy = space.isNull() ? newElement(document, XMLPacket::BODY)
                                      : newElement(document, space, element.prefix() + QStringLiteral(":e"));
    copy.setTagName(element.tagName()); // which may be empty
    for (const QDomAttr &attribute : sortedAttributes(element)) {
        const QString prefix = attribute.prefix();
        if (prefix.isNull())
            copy.setAttribute(attribute.name(), attribute.value());
        else
            copy.setAttributeNS(attribute.namespaceURI(), prefix + QLatin1Char(':') + attribute.name(),
                                attribute.value());
    }
    return copy;
}

QString printInOneOrder(const QDomDocument &document)
{
    QDomDocument copy{QDomDocumentType()};
    QDomNode parent = copy;
    QDomNode n = document.firstChild();
    while (!n.isNull()) {
        const QDomNode made = n.isElement() ? copyInOrder(copy, n.toElement()) : copy.importNode(n, true);
        parent.appendChild(made);
        QDomNode next = n.isElement() ? n.firstChild() : QDomNode();
        if (!next.isNull())
            parent = made;
        while (next.isNull() && n != document) {
            next = n.nextSibling();
            if (next.isNull()) {
                n = n.parentNode();
                parent = parent.parentNode();
            }
        }
        n = next;
    }
    return XMLObject::toString(copy);
}

} // namespace

bool zqxml::printAlike(const QDomDocument &a, const QDomDocument &b)
{
    if (differInLastLeaf(a.lastChild(), b.lastChild(), 16))
        return false;
    const Verdict verdict = compareTrees(a, b);
    if (verdict != Verdict::Unsure)
        return verdict == Verdict::Same;
    return printInOneOrder(a) == printInOneOrder(b);
}
