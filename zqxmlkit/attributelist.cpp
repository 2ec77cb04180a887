// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "attributelist_p.h"

#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>

#include <QSet>
#include <QTextStream>

#include <algorithm>
#include <iterator>

namespace {

// From here on it takes less to print the names and look them up than to ask for one index after the other.
constexpr int MANY = 64;

QString printWithoutChildren(const QDomNode &element)
{
    QString text;
    QTextStream stream(&text);
    element.cloneNode(false).save(stream, -1);
    return text;
}

} // namespace

// Takes the attributes by the names that most of them have: to find a name takes less than to find the first of all.
// Returns false when that was not all.
bool AttributeList::readKnown(const QDomNamedNodeMap &map)
{
    static const QString *const names[] = {&XMLPacketable::VALUE, &XMLPacketable::KEY,  &XMLPacketable::HKEY,
                                           &XMLPacketable::SIZE,  &XMLPacketable::NAME, &XMLPacketable::DATATYPE,
                                           &XMLPacket::AGENT_ID};
    const auto count = static_cast<std::size_t>(map.length());
    const std::size_t tries = count == 1 ? 4 : std::size(names);
    for (std::size_t i = 0; i < tries && list.size() < count; ++i) {
        const QDomNode attribute = map.namedItem(*names[i]);
        if (!attribute.isNull() && !append(attribute))
            return false;
    }
    return list.size() == count;
}

bool AttributeList::append(const QDomNode &attribute)
{
    if (!attribute.namespaceURI().isNull() || !attribute.prefix().isEmpty())
        return false;
    list.push_back({attribute.nodeName(), attribute.nodeValue()});
    return true;
}

// The toolkit finds the n-th attribute by counting from the first, so a loop over all takes quadratic time. Printing is
// the one thing that it does in a single pass. Names are printed as they are, and may hold anything: what is taken for
// a name must be one, and all must be found. Returns false when that fails.
bool AttributeList::readPrinted(const QDomNode &element, const QDomNamedNodeMap &map)
{
    const QString text = printWithoutChildren(element);
    const QString end = QStringLiteral("=\"");
    QSet<QString> seen;
    auto at = 1 + element.nodeName().size();
    while (seen.size() < map.length() && at < text.size()) {
        const auto from = at + 1;
        QDomNode attribute;
        for (int attempts = 0; attempts < 16 && attribute.isNull(); ++attempts) {
            at = text.indexOf(end, at + 1);
            if (at < 0)
                return false;
            const QString name = text.mid(from, at - from);
            if (!seen.contains(name))
                attribute = map.namedItem(name);
        }
        if (attribute.isNull() || !append(attribute))
            return false;
        seen.insert(list.back().name);
        at = text.indexOf(QLatin1Char('"'), at + end.size()) + 1;
    }
    return seen.size() == map.length();
}

bool AttributeList::read(const QDomNode &element)
{
    list.clear();
    const QDomNamedNodeMap map = element.attributes();
    const int count = map.length();
    if (count < MANY ? !readKnown(map) : !readPrinted(element, map)) {
        list.clear();
        for (int i = 0; i < count; ++i) {
            if (!append(map.item(i)))
                return false;
        }
    }
    if (count > 1)
        std::sort(list.begin(), list.end(), [](const Attribute &a, const Attribute &b) { return a.name < b.name; });
    return true;
}
