// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "flattree_p.h"

#include "wirewriter_p.h"
#include "xmlwire.h"

#include <QHash>
#include <QStringList>

#include <algorithm>

namespace {

quint64 mix(quint64 hash, quint64 value)
{
    hash = (hash ^ value) * 0x9e3779b97f4a7c15u;
    return hash ^ (hash >> 29);
}

quint64 mix(quint64 hash, const QString &text)
{
    for (const QChar c : text)
        hash = mix(hash, c.unicode());
    return mix(hash, 0x10000u + static_cast<quint64>(text.size()));
}

// Of the node alone.
quint64 hashOfNode(const QDomNode &node)
{
    quint64 hash = mix(static_cast<quint64>(node.nodeType()), node.nodeName());
    hash = mix(hash, node.nodeValue());
    if (node.hasAttributes()) {
        AttributeList attributes;
        attributes.read(node);
        for (const AttributeList::Attribute &attribute : attributes)
            hash = mix(mix(hash, attribute.name), attribute.value);
    }
    return hash;
}

bool haveSameAttributes(const QDomNode &a, const QDomNode &b)
{
    if (!a.hasAttributes() && !b.hasAttributes())
        return true;
    AttributeList ours;
    AttributeList theirs;
    ours.read(a);
    theirs.read(b);
    return std::equal(ours.begin(), ours.end(), theirs.begin(), theirs.end(),
                      [](const AttributeList::Attribute &x, const AttributeList::Attribute &y) {
                          return x.name == y.name && x.value == y.value;
                      });
}

bool isSameNode(const QDomNode &a, const QDomNode &b)
{
    return a.nodeType() == b.nodeType() && a.nodeName() == b.nodeName() && a.nodeValue() == b.nodeValue()
        && a.namespaceURI() == b.namespaceURI() && haveSameAttributes(a, b);
}

} // namespace

FlatTree::FlatTree(const QDomNode &root)
{
    int parent = -1;
    QDomNode node = root;
    for (;;) {
        const int i = static_cast<int>(items.size());
        items.push_back({node, parent, 0, hashOfNode(node), -1});
        QDomNode next = node.firstChild();
        int current = i;
        if (!next.isNull())
            parent = i;
        while (next.isNull()) {
            Item &done = at(current);
            done.end = static_cast<int>(items.size());
            if (done.parent < 0)
                return;
            at(done.parent).hash = mix(at(done.parent).hash, done.hash);
            next = done.node.nextSibling();
            parent = done.parent;
            current = done.parent;
        }
        node = next;
    }
}

bool FlatTree::isSame(const FlatTree &a, int i, const FlatTree &b, int j)
{
    const int size = a.at(i).end - i;
    if (a.at(i).hash != b.at(j).hash || b.at(j).end - j != size)
        return false;
    for (int offset = 0; offset < size; ++offset) {
        const Item &ours = a.at(i + offset);
        const Item &theirs = b.at(j + offset);
        if (ours.end - i != theirs.end - j || !isSameNode(ours.node, theirs.node))
            return false;
    }
    return true;
}

bool FlatTree::hasChildren(int i) const
{
    return at(i).node.isElement() || at(i).node.isDocument();
}

std::vector<int> FlatTree::childrenOf(int i) const
{
    std::vector<int> children;
    for (int child = i + 1; child < at(i).end; child = at(child).end)
        children.push_back(child);
    return children;
}

AttributeList FlatTree::attributesOf(int i) const
{
    AttributeList attributes;
    attributes.read(at(i).node);
    return attributes;
}

QString FlatTree::kindOf(int i) const
{
    return QString::number(at(i).node.nodeType()) + at(i).node.namespaceURI() + QLatin1Char(' ')
        + at(i).node.nodeName();
}

void FlatTree::numberChildrenOf(int i)
{
    QHash<QString, int> counts;
    const std::vector<int> children = childrenOf(i);
    for (const int child : children)
        at(child).number = ++counts[stepOf(child)];
    for (const int child : children) {
        if (counts.value(stepOf(child)) == 1)
            at(child).number = 0;
    }
}

QString FlatTree::stepOf(int i)
{
    const QDomNode &node = at(i).node;
    if (node.isElement())
        return QString::fromUtf8(WireWriter::nameToWire(node.nodeName()));
    return node.isComment() ? QStringLiteral("comment()") : QStringLiteral("text()");
}

QString FlatTree::pathOf(int i, const QString &attribute)
{
    QStringList steps;
    if (!attribute.isNull())
        steps << QLatin1Char('@') + QString::fromUtf8(WireWriter::nameToWire(attribute));
    for (; i >= 0 && !at(i).node.isDocument(); i = at(i).parent) {
        const int parent = at(i).parent;
        if (parent >= 0 && at(i).number < 0)
            numberChildrenOf(parent);
        const int number = at(i).number;
        steps << (number > 0 ? QStringLiteral("%1[%2]").arg(stepOf(i)).arg(number) : stepOf(i));
    }
    std::reverse(steps.begin(), steps.end());
    return QLatin1Char('/') + steps.join(QLatin1Char('/'));
}

QString FlatTree::contentOf(int i) const
{
    const QDomNode &node = at(i).node;
    if (!node.isElement())
        return node.nodeValue();
    const QByteArray wire = XMLWire::toWire(node.toElement());
    return wire.isEmpty() ? QLatin1Char('<') + node.nodeName() + QLatin1Char('>') : QString::fromUtf8(wire);
}
