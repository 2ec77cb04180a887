// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "rowsteps_p.h"

#include <algorithm>
#include <numeric>

namespace {

void removeRows(std::vector<int> &present, std::vector<RowStep> &steps)
{
    const auto goes = [](int row) { return row < 0; };
    for (auto end = present.begin(); (end = std::find_if(end, present.end(), goes)) != present.end();) {
        const auto first = end;
        end = std::find_if_not(first, present.end(), goes);
        steps.push_back({RowStep::Remove, static_cast<int>(first - present.begin()), static_cast<int>(end - first)});
        end = present.erase(first, end);
    }
}

/** Returns for each wanted row whether it is of the longest ascending sequence of \a present: those can stay. */
std::vector<bool> findStaying(const std::vector<int> &present, int wanted)
{
    std::vector<int> ends; // by length - 1: the smallest row that a sequence of that length ends with
    std::vector<int> before(static_cast<std::size_t>(wanted), -1);
    for (const int row : present) {
        const auto place = std::lower_bound(ends.begin(), ends.end(), row);
        before[static_cast<std::size_t>(row)] = place == ends.begin() ? -1 : *(place - 1);
        if (place == ends.end())
            ends.push_back(row);
        else
            *place = row;
    }
    std::vector<bool> stays(static_cast<std::size_t>(wanted), false);
    for (int row = ends.empty() ? -1 : ends.back(); row >= 0; row = before[static_cast<std::size_t>(row)])
        stays[static_cast<std::size_t>(row)] = true;
    return stays;
}

} // namespace

std::vector<RowStep> rowSteps(std::vector<int> present, int wanted)
{
    std::vector<RowStep> steps;
    removeRows(present, steps);
    const std::vector<bool> stays = findStaying(present, wanted);
    std::vector<bool> known(static_cast<std::size_t>(wanted), false);
    for (const int row : present)
        known[static_cast<std::size_t>(row)] = true;

    for (int row = 0; row < wanted;) {
        const auto here = present.begin() + row;
        const auto found = std::find(here, present.end(), row);
        if (!known[static_cast<std::size_t>(row)]) {
            const auto next = std::find(known.begin() + row, known.end(), true);
            const int count = static_cast<int>(next - known.begin()) - row;
            steps.push_back({RowStep::Insert, row, count});
            const auto first = present.insert(here, static_cast<std::size_t>(count), row);
            std::iota(first, first + count, row);
            row += count;
        } else if (found != here && stays[static_cast<std::size_t>(row)]) {
            // What stands in the way goes further back, where it cannot be in the way of one that stays.
            steps.push_back({RowStep::Move, row, static_cast<int>(present.size()) - 1});
            std::rotate(here, here + 1, present.end());
        } else {
            if (found != here)
                steps.push_back({RowStep::Move, static_cast<int>(found - present.begin()), row});
            std::rotate(here, found, found + 1);
            ++row;
        }
    }
    return steps;
}
