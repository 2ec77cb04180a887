// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "pieces.h"
#include "samples.h"

#include <zqxml/xmlaction.h>

#include <map>
#include <tuple>

namespace {

struct Pair {
    Pair(int bytes, Difference difference)
        : a(bytes, difference, 1), b(bytes, difference, 2), piecesOfA(a.document.documentElement())
    {
        const bool equal = difference == Difference::Nowhere;
        require((a == b) == equal, "operator== is wrong about a pair of samples");
        require(haveEqualTexts(a, b) == equal, "a pair of samples does not differ as it should");
        require(areSame() == equal, "the floor of operator== is wrong about a pair of samples");
    }

    bool areSame() const
    {
        return piecesOfA.areSame(a.document.documentElement(), b.document.documentElement());
    }

    SamplePacket a;
    SamplePacket b;
    Pieces piecesOfA;
};

const Pair &pairOf(int kilobytes, Difference difference)
{
    static std::map<std::pair<int, Difference>, std::unique_ptr<Pair>> pairs;
    std::unique_ptr<Pair> &pair = pairs[{kilobytes, difference}];
    if (!pair)
        pair = std::make_unique<Pair>(kilobytes * 1024, difference);
    return *pair;
}

template <typename Call>
void addForm(const std::string &form, int kilobytes, Difference difference, Call call)
{
    const bool walks = difference == Difference::Nowhere;
    const auto prepare = [=](benchmark::State &) {
        const Pair &pair = pairOf(kilobytes, difference);
        return [&pair, call] { return call(pair); };
    };
    add(form + '/' + std::to_string(kilobytes), prepare, walks && kilobytes > 1 ? Load::Large : Load::Small);
}

constexpr int OBJECTS = 10;

std::unique_ptr<XMLPacket> makePacketOfActions()
{
    auto packet = std::make_unique<XMLPacket>();
    packet->setSourceAgentID(1);
    packet->setDestinationAgentID(2);
    for (int i = 0; i < OBJECTS; ++i) {
        XMLAction action(QStringLiteral("Front cover, outside"), 1000 + i, 1);
        action.setEnabled(i % 2 == 0);
        packet->appendV(action);
    }
    return packet;
}

/** A document with the tree of makePacketOfActions(). */
QDomDocument makeBareDocument()
{
    const std::unique_ptr<XMLPacket> packet = makePacketOfActions();
    QDomDocument document;
    document.appendChild(document.importNode(packet->getBody().ownerDocument().documentElement(), true));
    return document;
}

} // namespace

void addPackets()
{
    addEnd("destroy/ours/10", [] { return makePacketOfActions(); });
    addEnd("destroy/floor/10", [] { return makeBareDocument(); });
    const auto compare = [](const Pair &pair) { return pair.a == pair.b; };
    for (const int kilobytes : {1, 64}) {
        addForm("equal/ours", kilobytes, Difference::Nowhere, compare);
        addForm("equal/floor", kilobytes, Difference::Nowhere, [](const Pair &pair) { return pair.areSame(); });
        addForm("equal/plain", kilobytes, Difference::Nowhere,
                [](const Pair &pair) { return haveEqualTexts(pair.a, pair.b); });
        addForm("differentHeader/ours", kilobytes, Difference::Header, compare);
        addForm("differentLast/ours", kilobytes, Difference::Last, compare);
    }
}
