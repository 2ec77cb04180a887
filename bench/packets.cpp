// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "pieces.h"
#include "samples.h"

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
    add(form + '/' + std::to_string(kilobytes), [=](benchmark::State &) {
        const Pair &pair = pairOf(kilobytes, difference);
        return [&pair, call] { return call(pair); };
    });
}

void addForms(const std::string &path, int kilobytes, Difference difference)
{
    addForm(path + "/ours", kilobytes, difference, [](const Pair &pair) { return pair.a == pair.b; });
    addForm(path + "/floor", kilobytes, difference, [](const Pair &pair) { return pair.areSame(); });
    addForm(path + "/plain", kilobytes, difference, [](const Pair &pair) { return haveEqualTexts(pair.a, pair.b); });
}

} // namespace

void addPackets()
{
    for (const int kilobytes : {1, 64})
        addForms("equal", kilobytes, Difference::Nowhere);
    for (const int kilobytes : {1, 64, 1024}) {
        addForms("differentHeader", kilobytes, Difference::Header);
        addForms("differentLast", kilobytes, Difference::Last);
    }
}
