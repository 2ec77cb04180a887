// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_RECORDTYPES_P_H
#define STANDIN_RECORDTYPES_P_H

#include "zqrecords.h"

#include <cstddef>

/** A data type that has a structure. */
struct RecordType {
    PACKETDATATYPES type;
    std::size_t size; ///< of the structure, bytes
    CONVERTSTRUCTELEMENTINFO *table;
};

/** Returns null for a type that has no structure. */
const RecordType *findRecordType(unsigned int type);

/** How the value of a field, or each value of an array, is stored. */
enum class Storage {
    Text,
    FixedText,
    Character,
    Flag,
    Unsigned,
    Signed,
    Real,
    Key,
    Offset,
    UnsignedArray,
    SignedArray,
    RealArray,
    TextArray,
    Bytes,
    List,
    Item
};

struct Field {
    Storage storage;
    unsigned int size; ///< bytes of one number
};

Field fieldOf(const CONVERTSTRUCTELEMENTINFO &row);

/** Returns the field of \a row in \a record. */
template <typename Value>
Value &fieldIn(ZQLIST_ELEMENT *record, const CONVERTSTRUCTELEMENTINFO &row)
{
    return *reinterpret_cast<Value *>(reinterpret_cast<char *>(record) + row.reserved[ROW_OFFSET]);
}

template <typename Value>
const Value &fieldIn(const ZQLIST_ELEMENT *record, const CONVERTSTRUCTELEMENTINFO &row)
{
    return *reinterpret_cast<const Value *>(reinterpret_cast<const char *>(record) + row.reserved[ROW_OFFSET]);
}

#endif
