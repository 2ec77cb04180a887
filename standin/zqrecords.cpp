// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "recordtypes_p.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

unsigned int liveRecords = 0;

void *allocate(std::size_t count, std::size_t size)
{
    void *const block = std::calloc(count, size);
    if (!block)
        throw std::bad_alloc();
    return block;
}

char *copyText(const char *text, std::size_t size)
{
    if (!text || size == 0)
        return nullptr;
    char *const copy = static_cast<char *>(allocate(size + 1, 1));
    std::memcpy(copy, text, size);
    return copy;
}

void freeRecord(ZQLIST_ELEMENT *record, const RecordType &type);

void freeChain(ZQLIST_ELEMENT *record, const RecordType &type)
{
    while (record) {
        ZQLIST_ELEMENT *const next = record->next;
        freeRecord(record, type);
        record = next;
    }
}

void freeField(ZQLIST_ELEMENT *record, const CONVERTSTRUCTELEMENTINFO &row)
{
    switch (fieldOf(row).storage) {
    case Storage::Text:
        std::free(fieldIn<char *>(record, row));
        break;
    case Storage::TextArray: {
        const ZQARRAY &array = fieldIn<ZQARRAY>(record, row);
        for (unsigned int i = 0; i < array.count; ++i)
            std::free(static_cast<char **>(array.values)[i]);
        std::free(array.values);
        break;
    }
    case Storage::UnsignedArray:
    case Storage::SignedArray:
    case Storage::RealArray:
    case Storage::Bytes:
        std::free(fieldIn<ZQARRAY>(record, row).values);
        break;
    case Storage::List:
    case Storage::Item:
        freeChain(fieldIn<ZQLIST_ELEMENT *>(record, row), *findRecordType(row.reserved[ROW_CHILDTYPE]));
        break;
    default:
        break;
    }
}

void freeRecord(ZQLIST_ELEMENT *record, const RecordType &type)
{
    for (const CONVERTSTRUCTELEMENTINFO *row = type.table; row->elementType != 0; ++row)
        freeField(record, *row);
    std::free(record);
    --liveRecords;
}

ZQLIST_ELEMENT *copyChain(const ZQLIST_ELEMENT *record, PACKETDATATYPES type)
{
    ZQLIST_ELEMENT *head = nullptr;
    for (ZQLIST_ELEMENT **tail = &head; record && (*tail = ZQCopyRecord(record, type)); record = record->next)
        tail = &(*tail)->next;
    return head;
}

/** Replaces what \a copy, a bitwise copy, still shares with its original. */
void copyField(ZQLIST_ELEMENT *copy, const CONVERTSTRUCTELEMENTINFO &row)
{
    const Field field = fieldOf(row);
    switch (field.storage) {
    case Storage::Text: {
        char *&text = fieldIn<char *>(copy, row);
        text = text ? copyText(text, std::strlen(text)) : nullptr;
        break;
    }
    case Storage::TextArray: {
        ZQARRAY &array = fieldIn<ZQARRAY>(copy, row);
        const ZQARRAY original = array;
        array = {0, nullptr};
        auto **const texts = static_cast<char **>(ZQResizeArray(array, original.count, sizeof(char *)));
        for (unsigned int i = 0; i < original.count; ++i) {
            const char *const text = static_cast<char *const *>(original.values)[i];
            texts[i] = copyText(text, text ? std::strlen(text) : 0);
        }
        break;
    }
    case Storage::UnsignedArray:
    case Storage::SignedArray:
    case Storage::RealArray:
    case Storage::Bytes: {
        ZQARRAY &array = fieldIn<ZQARRAY>(copy, row);
        const ZQARRAY original = array;
        array = {0, nullptr};
        if (void *const values = ZQResizeArray(array, original.count, field.size))
            std::memcpy(values, original.values, std::size_t(field.size) * original.count);
        break;
    }
    case Storage::List:
    case Storage::Item: {
        ZQLIST_ELEMENT *&child = fieldIn<ZQLIST_ELEMENT *>(copy, row);
        child = copyChain(child, static_cast<PACKETDATATYPES>(row.reserved[ROW_CHILDTYPE]));
        break;
    }
    default:
        break;
    }
}

} // namespace

ZQLIST_ELEMENT *ZQNewRecord(PACKETDATATYPES type)
{
    const RecordType *const known = findRecordType(type);
    if (!known)
        return nullptr;
    // All zero bits are null pointers, zeros and empty arrays alike.
    ZQLIST_ELEMENT *const record = static_cast<ZQLIST_ELEMENT *>(allocate(1, known->size));
    ++liveRecords;
    return record;
}

ZQLIST_ELEMENT *ZQCopyRecord(const ZQLIST_ELEMENT *record, PACKETDATATYPES type)
{
    const RecordType *const known = findRecordType(type);
    if (!record || !known)
        return nullptr;
    ZQLIST_ELEMENT *const copy = ZQNewRecord(type);
    std::memcpy(static_cast<void *>(copy), record, known->size);
    copy->next = nullptr;
    for (const CONVERTSTRUCTELEMENTINFO *row = known->table; row->elementType != 0; ++row)
        copyField(copy, *row);
    return copy;
}

void ZQSetText(char *&field, const char *text, unsigned int size)
{
    char *const copy = text ? copyText(text, strnlen(text, size)) : nullptr;
    std::free(field);
    field = copy;
}

void ZQSetFixedText(char *field, unsigned int size, const char *text, unsigned int length)
{
    const std::size_t whole = strnlen(text, length);
    std::size_t kept = std::min<std::size_t>(whole, size - 1);
    while (kept < whole && kept > 0 && (text[kept] & 0xc0) == 0x80)
        --kept;
    std::memset(field, 0, size);
    std::memcpy(field, text, kept);
}

void *ZQResizeArray(ZQARRAY &array, unsigned int count, unsigned int size)
{
    void *const values = count > 0 ? allocate(count, size) : nullptr;
    std::free(array.values);
    array = {count, values};
    return values;
}

unsigned int ZQLiveRecords()
{
    return liveRecords;
}

void AddListList(ZQLIST_ELEMENT **head, ZQLIST_ELEMENT *chain)
{
    if (!head)
        return;
    while (*head)
        head = &(*head)->next;
    *head = chain;
}

void RemoveItemFromList(ZQLIST_ELEMENT **head, ZQLIST_ELEMENT *record)
{
    if (!head || !record)
        return;
    while (*head && *head != record)
        head = &(*head)->next;
    if (!*head)
        return;
    *head = record->next;
    record->next = nullptr;
}

void ZQPacketFreeList(ZQLIST_ELEMENT **head, PACKETDATATYPES type)
{
    const RecordType *const known = findRecordType(type);
    if (!head || !known)
        return;
    freeChain(*head, *known);
    *head = nullptr;
}

void ZQPacketFreeItem(ZQLIST_ELEMENT *record, PACKETDATATYPES type)
{
    const RecordType *const known = findRecordType(type);
    if (record && known)
        freeRecord(record, *known);
}
