// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlpacketdiff.h"

#include "flattree_p.h"
#include "wirewriter_p.h"
#include "xmlwire.h"

#include <zqxml/xmlpacket.h>

#include <QHash>

#include <algorithm>
#include <deque>
#include <utility>

namespace {

using Differences = QList<XMLPacketDiff::Difference>;
using Indices = std::vector<int>;

/** Two nodes to be compared, or one that the other side has not: -1. */
struct Pair {
    int left;
    int right;
};

/** Finds for the children of two elements which belong together. */
class Alignment
{
public:
    Alignment(FlatTree &leftTree, FlatTree &rightTree) : left(leftTree), right(rightTree) { }

    /** Returns the pairs that differ, in the order of the document. */
    std::vector<Pair> align(const Indices &leftChildren, const Indices &rightChildren)
    {
        auto l = Range{leftChildren.cbegin(), leftChildren.cend()};
        auto r = Range{rightChildren.cbegin(), rightChildren.cend()};
        trim(l, r);
        for (const Pair &anchor : findAnchors(l, r)) {
            pairByKind({l.first, leftChildren.cbegin() + anchor.left},
                       {r.first, rightChildren.cbegin() + anchor.right});
            l.first = leftChildren.cbegin() + anchor.left + 1;
            r.first = rightChildren.cbegin() + anchor.right + 1;
        }
        pairByKind(l, r);
        return std::move(pairs);
    }

private:
    struct Range {
        Indices::const_iterator first;
        Indices::const_iterator last;
    };

    bool isSame(int l, int r) const
    {
        return FlatTree::isSame(left, l, right, r);
    }

    // Leaves out what is the same at both ends.
    void trim(Range &l, Range &r)
    {
        leftBegin = l.first;
        rightBegin = r.first;
        while (l.first != l.last && r.first != r.last && isSame(*l.first, *r.first)) {
            ++l.first;
            ++r.first;
        }
        while (l.first != l.last && r.first != r.last && isSame(*(l.last - 1), *(r.last - 1))) {
            --l.last;
            --r.last;
        }
    }

    // Children that are the same on both sides, occur there once, and stand in the same order.
    std::vector<Pair> findAnchors(const Range &l, const Range &r) const
    {
        struct Places {
            int leftCount = 0;
            int rightCount = 0;
            int rightPlace = 0;
        };
        QHash<quint64, Places> places;
        for (auto at = l.first; at != l.last; ++at)
            ++places[left.hashOf(*at)].leftCount;
        for (auto at = r.first; at != r.last; ++at) {
            Places &found = places[right.hashOf(*at)];
            ++found.rightCount;
            found.rightPlace = static_cast<int>(at - rightBegin);
        }
        std::vector<Pair> candidates;
        for (auto at = l.first; at != l.last; ++at) {
            const Places found = places.value(left.hashOf(*at));
            if (found.leftCount == 1 && found.rightCount == 1 && isSame(*at, rightBegin[found.rightPlace]))
                candidates.push_back({static_cast<int>(at - leftBegin), found.rightPlace});
        }
        return longestRising(candidates);
    }

    // The longest part in which the places on the right rise too.
    static std::vector<Pair> longestRising(const std::vector<Pair> &candidates)
    {
        Indices ends; // of the sequences of each length, the last candidate of the one that ends first
        Indices previous(candidates.size(), -1);
        for (std::size_t i = 0; i < candidates.size(); ++i) {
            const auto end = std::lower_bound(ends.begin(), ends.end(), candidates[i].right, [&](int of, int place) {
                return candidates[static_cast<std::size_t>(of)].right < place;
            });
            if (end != ends.begin())
                previous[i] = *(end - 1);
            if (end == ends.end())
                ends.push_back(static_cast<int>(i));
            else
                *end = static_cast<int>(i);
        }
        std::vector<Pair> chosen;
        for (int i = ends.empty() ? -1 : ends.back(); i >= 0; i = previous[static_cast<std::size_t>(i)])
            chosen.push_back(candidates[static_cast<std::size_t>(i)]);
        std::reverse(chosen.begin(), chosen.end());
        return chosen;
    }

    // Nodes of one kind and name are taken for two states of one.
    void pairByKind(const Range &l, const Range &r)
    {
        QHash<QString, std::deque<Indices::const_iterator>> waiting;
        for (auto at = r.first; at != r.last; ++at)
            waiting[right.kindOf(*at)].push_back(at);
        auto next = r.first;
        for (auto at = l.first; at != l.last; ++at) {
            auto &alike = waiting[left.kindOf(*at)];
            while (!alike.empty() && alike.front() < next)
                alike.pop_front();
            if (alike.empty()) {
                pairs.push_back({*at, -1});
                continue;
            }
            for (; next != alike.front(); ++next)
                pairs.push_back({-1, *next});
            pairs.push_back({*at, *next++});
        }
        for (; next != r.last; ++next)
            pairs.push_back({-1, *next});
    }

    FlatTree &left;
    FlatTree &right;
    Indices::const_iterator leftBegin;
    Indices::const_iterator rightBegin;
    std::vector<Pair> pairs;
};

/** Compares two trees and writes down where they differ. */
class Comparison
{
public:
    Comparison(const QDomNode &leftRoot, const QDomNode &rightRoot, int maximumCount)
        : left(leftRoot), right(rightRoot), maximum(maximumCount)
    {
    }

    // Without recursion: trees may be deep.
    void run()
    {
        std::vector<Pair> tasks = {{0, 0}};
        while (!tasks.empty() && complete) {
            const Pair task = tasks.back();
            tasks.pop_back();
            if (task.left < 0)
                add({right.pathOf(task.right), XMLPacketDiff::Added, QString(), right.contentOf(task.right)});
            else if (task.right < 0)
                add({left.pathOf(task.left), XMLPacketDiff::Removed, left.contentOf(task.left), QString()});
            else
                compare(task.left, task.right, tasks);
        }
    }

    Differences differences;
    bool complete = true;

private:
    void add(const XMLPacketDiff::Difference &difference)
    {
        complete = differences.size() < maximum;
        if (complete)
            differences.append(difference);
    }

    void compare(int l, int r, std::vector<Pair> &tasks)
    {
        if (FlatTree::isSame(left, l, right, r))
            return;
        if (left.kindOf(l) != right.kindOf(r)) {
            tasks.insert(tasks.end(), {{-1, r}, {l, -1}});
        } else if (!left.hasChildren(l)) {
            add({left.pathOf(l), XMLPacketDiff::Changed, left.contentOf(l), right.contentOf(r)});
        } else {
            compareAttributes(l, r);
            const std::vector<Pair> pairs = Alignment(left, right).align(left.childrenOf(l), right.childrenOf(r));
            tasks.insert(tasks.end(), pairs.crbegin(), pairs.crend());
        }
    }

    void compareAttributes(int l, int r)
    {
        const AttributeList ours = left.attributesOf(l);
        const AttributeList theirs = right.attributesOf(r);
        auto a = ours.begin();
        auto b = theirs.begin();
        while (a != ours.end() || b != theirs.end()) {
            if (b == theirs.end() || (a != ours.end() && a->name < b->name)) {
                add({left.pathOf(l, a->name), XMLPacketDiff::Removed, a->value, QString()});
                ++a;
            } else if (a == ours.end() || b->name < a->name) {
                add({right.pathOf(r, b->name), XMLPacketDiff::Added, QString(), b->value});
                ++b;
            } else {
                if (a->value != b->value)
                    add({left.pathOf(l, a->name), XMLPacketDiff::Changed, a->value, b->value});
                ++a;
                ++b;
            }
        }
    }

    FlatTree left;
    FlatTree right;
    const int maximum;
};

QString toLine(const XMLPacketDiff::Difference &difference)
{
    const auto shown = [](const QString &value) {
        constexpr int longest = 60;
        const QString text = value.startsWith(QLatin1Char('<'))
            ? value
            : QLatin1Char('"') + QString::fromUtf8(WireWriter::valueToWire(value)) + QLatin1Char('"');
        return text.size() > longest ? text.left(longest) + QStringLiteral("...") : text;
    };
    switch (difference.kind) {
    case XMLPacketDiff::Added:
        return QStringLiteral("+ ") + difference.path + QStringLiteral(": ") + shown(difference.right);
    case XMLPacketDiff::Removed:
        return QStringLiteral("- ") + difference.path + QStringLiteral(": ") + shown(difference.left);
    case XMLPacketDiff::Changed:
        break;
    }
    return QStringLiteral("~ ") + difference.path + QStringLiteral(": ") + shown(difference.left)
        + QStringLiteral(" -> ") + shown(difference.right);
}

} // namespace

XMLPacketDiff::XMLPacketDiff(const XMLPacket &left, const XMLPacket &right, int maximum)
{
    Comparison comparison(left.getBody().ownerDocument(), right.getBody().ownerDocument(), maximum);
    comparison.run();
    differences = comparison.differences;
    complete = comparison.complete;
}

XMLPacketDiff::XMLPacketDiff(const QDomElement &left, const QDomElement &right, int maximum)
{
    Comparison comparison(left, right, maximum);
    comparison.run();
    differences = comparison.differences;
    complete = comparison.complete;
}

bool XMLPacketDiff::isEmpty() const
{
    return differences.isEmpty() && complete;
}

bool XMLPacketDiff::isComplete() const
{
    return complete;
}

QList<XMLPacketDiff::Difference> XMLPacketDiff::getDifferences() const
{
    return differences;
}

QString XMLPacketDiff::toText() const
{
    QString text;
    for (const Difference &difference : differences)
        text += toLine(difference) + QLatin1Char('\n');
    return complete ? text : text + QStringLiteral("...\n");
}
