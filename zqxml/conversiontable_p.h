// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_CONVERSIONTABLE_P_H
#define ZQXML_CONVERSIONTABLE_P_H

#include "xmlpacketable.h"

#include <cstdint>
#include <map>
#include <vector>

/**
 * \file
 * What the record library's conversion tables say about a field: its row, and the shape that the row gives it.
 */

namespace {

constexpr unsigned int unconvertedType = 6;

enum class Shape { None, Simple, Key, NumberArray, StringArray, Binary };

Shape shapeOf(unsigned int elementType)
{
    switch (elementType) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
    case 11:
    case 12:
    case 13: // a number: its size tells kinds 5, 6, 7 and 29 apart, which share a shape
    case 20: // kind 29
    case 21: // kind 29
    case 24:
    case 25:
    case 28:
    case 29:
        return Shape::Simple;
    case 14:
        return Shape::Key;
    case 15:
    case 16: // numbers: their size tells kinds 17, 18, 19 and 31 apart, which share a shape
    case 17:
    case 18:
    case 19:
    case 27:
    case 30:
    case 31:
        return Shape::NumberArray;
    case 22:
        return Shape::StringArray;
    case 23:
        return Shape::Binary;
    default:
        return Shape::None;
    }
}

/** Finds the rows of one conversion table by their tags. */
class RowIndex
{
public:
    explicit RowIndex(const CONVERTSTRUCTELEMENTINFO *conversionTable) : table(conversionTable)
    {
        std::uint32_t rows = 0;
        while (table[rows].elementType != 0)
            ++rows;
        while ((1u << bits) < 2 * rows)
            ++bits;
        buckets.resize(std::size_t(1) << bits);
        for (std::uint32_t row = 0; row < rows; ++row) {
            std::uint32_t &bucket = bucketOf(table[row].dataTag);
            if (bucket == 0) // the first row of a tag decides
                bucket = row + 1;
        }
    }

    /** Returns null for a tag without a row. */
    const CONVERTSTRUCTELEMENTINFO *find(unsigned int tag)
    {
        const std::uint32_t bucket = bucketOf(tag);
        return bucket == 0 ? nullptr : table + bucket - 1;
    }

private:
    std::uint32_t &bucketOf(unsigned int tag)
    {
        // Fibonacci hashing spreads tags that count up as well as tags that share their low bits.
        std::size_t i = (tag * 2654435769u) >> (32 - bits);
        while (buckets[i] != 0 && table[buckets[i] - 1].dataTag != tag)
            i = (i + 1) & (buckets.size() - 1);
        return buckets[i];
    }

    const CONVERTSTRUCTELEMENTINFO *table;
    std::vector<std::uint32_t> buckets; // numbers of rows, from 1; 0 where none, which is half of them or more
    unsigned int bits = 1;
};

/** The conversion tables that one conversion has met. */
class RowIndexes
{
public:
    /** Returns null for a data type whose items are not converted. */
    RowIndex *ofType(unsigned int type)
    {
        const auto found = indexes.find(type);
        if (found != indexes.end())
            return &found->second;
        CONVERTSTRUCTELEMENTINFO *const table = type == unconvertedType ? nullptr : ZQGetSystemStorageClassConv(type);
        return table ? &indexes.try_emplace(type, table).first->second : nullptr;
    }

    /** Returns the rows of the data type that \a item names, as ofType() does. */
    RowIndex *ofItem(const QDomElement &item)
    {
        return ofType(XMLObject::getAttributeUInt(item, XMLPacketable::DATATYPE, 16));
    }

private:
    std::map<unsigned int, RowIndex> indexes;
};

} // namespace

#endif
