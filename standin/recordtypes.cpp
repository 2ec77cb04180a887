// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "recordtypes_p.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace {

/** Makes the rows of one record type; a member tells where its field lies. */
template <typename Record>
class Rows
{
public:
    template <typename Value>
    CONVERTSTRUCTELEMENTINFO operator()(unsigned int type, unsigned int tag, const char *name, Value Record::*member)
    {
        return row(type, tag, name, sizeof(Value), member, 0);
    }

    template <typename Value>
    CONVERTSTRUCTELEMENTINFO array(unsigned int type, unsigned int tag, const char *name, ZQARRAY Record::*member)
    {
        return row(type, tag, name, sizeof(Value), member, 0);
    }

    CONVERTSTRUCTELEMENTINFO nested(ZQCONVTYPE type, unsigned int tag, const char *name,
                                    ZQLIST_ELEMENT *Record::*member, PACKETDATATYPES childType)
    {
        return row(type, tag, name, sizeof(ZQLIST_ELEMENT *), member, childType);
    }

private:
    template <typename Value>
    CONVERTSTRUCTELEMENTINFO row(unsigned int type, unsigned int tag, const char *name, std::size_t size,
                                 Value Record::*member, unsigned int childType)
    {
        const auto offset = reinterpret_cast<const char *>(&(sample.*member)) - reinterpret_cast<const char *>(&sample);
        return {type, tag, name, static_cast<unsigned int>(size), {static_cast<unsigned int>(offset), childType, 0, 0}};
    }

    const Record sample = {}; // records have bases with members, of which offsetof is not sure to know
};

constexpr CONVERTSTRUCTELEMENTINFO end = {0, 0, nullptr, 0, {0, 0, 0, 0}};

CONVERTSTRUCTELEMENTINFO *entryTable()
{
    Rows<ZQDBLIST_ENTRY> row;
    const auto word = [&row](unsigned int type, unsigned int tag, const char *name, ZQENTRYWORD index) {
        CONVERTSTRUCTELEMENTINFO result = row(type, tag, name, &ZQDBLIST_ENTRY::reserved);
        result.fieldSize = sizeof(unsigned int);
        result.reserved[ROW_OFFSET] += result.fieldSize * index;
        return result;
    };
    static CONVERTSTRUCTELEMENTINFO table[] = {
        row(CONV_TEXT, TAG_NAME, "name", &ZQDBLIST_ENTRY::name),
        row(CONV_KEY, TAG_KEY, "key", &ZQDBLIST_ENTRY::key),
        word(CONV_RECORDID, TAG_ID, "id", ENTRY_ID),
        word(CONV_STATE, TAG_ENTRY_STATE, "state", ENTRY_STATE),
        word(CONV_NUMBER, TAG_ENTRY_SPEED, "speed", ENTRY_SPEED),
        word(CONV_UINT32, TAG_ENTRY_RESOLUTION, "resolution", ENTRY_RESOLUTION),
        word(CONV_NUMBER, TAG_ENTRY_JOBS, "jobs", ENTRY_JOBS),
        end,
    };
    return table;
}

CONVERTSTRUCTELEMENTINFO *jobTable()
{
    using Record = ZQJOBRECORD;
    Rows<Record> row;
    static CONVERTSTRUCTELEMENTINFO table[] = {
        row(CONV_TEXT, TAG_NAME, "name", static_cast<char * Record::*>(&Record::name)),
        row(CONV_KEY, TAG_KEY, "key", &Record::key),
        row(CONV_RECORDID, TAG_ID, "id", &Record::id),
        row(CONV_TEXT, TAG_JOB_PUBLICATION, "publication", static_cast<char * Record::*>(&Record::publicationName)),
        row(CONV_RECORDID, TAG_JOB_PUBLICATIONID, "publicationID",
            static_cast<unsigned int Record::*>(&Record::publicationID)),
        row(CONV_KEY, TAG_JOB_PUBLICATIONKEY, "publicationKey", &Record::publicationKey),
        row(CONV_INT32, TAG_JOB_PAGE, "page", &Record::page),
        row(CONV_STATE, 0x7, "queue", &Record::queue),
        row(CONV_NUMBER, 0x8, "output", &Record::output),
        row(CONV_NUMBER, 0x9, "priority", &Record::priority),
        row(CONV_NUMBER, 0xa, "copies", &Record::copies),
        row(CONV_NUMBER, 0xb, "bytes", &Record::bytes),
        row(CONV_TIME, 0xc, "arrived", &Record::arrived),
        row(CONV_FIXEDTEXT, 0xd, "paper", &Record::paper),
        row(CONV_CHARACTER, 0xe, "format", &Record::format),
        row(CONV_FLAG, 0xf, "held", &Record::held),
        row(CONV_DOUBLE, 0x10, "bleed", &Record::bleed),
        row(CONV_FLOAT, 0x11, "scale", &Record::scale),
        row(CONV_INT16, 0x12, "rotation", &Record::rotation),
        row(CONV_OFFSET, 0x13, "offset", &Record::offset),
        row(CONV_CHECKSUM, 0x14, "checksum", &Record::checksum),
        row.array<unsigned char>(CONV_BINARYDATA, 0x15, "digest", &Record::digest),
        row.array<double>(CONV_DOUBLEARRAY, 0x16, "trimBox", &Record::trimBox),
        row.array<char *>(CONV_TEXTARRAY, 0x17, "inks", &Record::inks),
        row.array<unsigned char>(CONV_NUMBERARRAY, 0x18, "coverage", &Record::coverage),
        row.array<unsigned short>(CONV_NUMBERARRAY, 0x19, "spots", &Record::spots),
        row.array<unsigned int>(CONV_NUMBERARRAY, 0x1a, "ranges", &Record::ranges),
        row.array<unsigned long long>(CONV_NUMBERARRAY, 0x1b, "chunks", &Record::chunks),
        row.nested(CONV_LIST, 0x1c, "separations", &Record::separations, SEPARATION_TYPE),
        row.nested(CONV_LIST, 0x1d, "events", &Record::events, EVENT_TYPE),
        end,
    };
    return table;
}

CONVERTSTRUCTELEMENTINFO *separationTable()
{
    Rows<ZQSEPARATION> row;
    static CONVERTSTRUCTELEMENTINFO table[] = {
        row(CONV_TEXT, TAG_NAME, "ink", &ZQSEPARATION::ink),
        row(CONV_FLOAT, 0x2, "angle", &ZQSEPARATION::angle),
        row(CONV_DOUBLE, 0x3, "ruling", &ZQSEPARATION::ruling),
        row(CONV_UINT8, 0x4, "coverage", &ZQSEPARATION::coverage),
        end,
    };
    return table;
}

CONVERTSTRUCTELEMENTINFO *eventTable()
{
    Rows<ZQEVENT> row;
    static CONVERTSTRUCTELEMENTINFO table[] = {
        row(CONV_TEXT, TAG_NAME, "text", &ZQEVENT::text),
        row(CONV_TIME, 0x2, "time", &ZQEVENT::time),
        row(CONV_STATE, 0x3, "kind", &ZQEVENT::kind),
        end,
    };
    return table;
}

CONVERTSTRUCTELEMENTINFO *bookTable()
{
    using Record = ZQBOOKRECORD;
    Rows<Record> row;
    static CONVERTSTRUCTELEMENTINFO table[] = {
        row(CONV_TEXT, TAG_NAME, "name", static_cast<char * Record::*>(&Record::name)),
        row(CONV_KEY, TAG_KEY, "key", &Record::key),
        row(CONV_RECORDID, TAG_ID, "id", &Record::id),
        row(CONV_UINT32, 0x4, "publication", &Record::publication),
        row(CONV_UINT16, TAG_BOOK_PAGES, "pages", &Record::pages),
        row(CONV_UINT8, 0x6, "signature", &Record::signature),
        row(CONV_UINT64, TAG_BOOK_COPIES, "copies", &Record::copies),
        row(CONV_INT64, 0x8, "balance", &Record::balance),
        row.array<char *>(CONV_TEXTARRAY, 0x9, "keywords", &Record::keywords),
        row.nested(CONV_ITEM, 0xa, "cover", &Record::cover, COVER_TYPE),
        row.nested(CONV_LIST, 0xb, "sections", &Record::sections, SECTION_TYPE),
        end,
    };
    return table;
}

CONVERTSTRUCTELEMENTINFO *sectionTable()
{
    Rows<ZQSECTION> row;
    static CONVERTSTRUCTELEMENTINFO table[] = {
        row(CONV_TEXT, TAG_NAME, "name", &ZQSECTION::name),
        row(CONV_UINT8, 0x2, "number", &ZQSECTION::number),
        row(CONV_INT8, 0x3, "folds", &ZQSECTION::folds),
        row.array<int>(CONV_INT32ARRAY, 0x4, "order", &ZQSECTION::order),
        row.nested(CONV_LIST, 0x5, "pages", &ZQSECTION::pages, PAGE_TYPE),
        end,
    };
    return table;
}

CONVERTSTRUCTELEMENTINFO *coverTable()
{
    Rows<ZQCOVER> row;
    static CONVERTSTRUCTELEMENTINFO table[] = {
        row(CONV_TEXT, TAG_NAME, "material", &ZQCOVER::material),
        row(CONV_DOUBLE, 0x2, "spine", &ZQCOVER::spine),
        row.array<unsigned char>(CONV_UINT8ARRAY, 0x3, "inks", &ZQCOVER::inks),
        row.array<unsigned short>(CONV_UINT16ARRAY, 0x4, "weights", &ZQCOVER::weights),
        row.array<unsigned int>(CONV_UINT32ARRAY, 0x5, "plates", &ZQCOVER::plates),
        row.array<unsigned long long>(CONV_UINT64ARRAY, 0x6, "sizes", &ZQCOVER::sizes),
        row.array<long long>(CONV_INT64ARRAY, 0x7, "shifts", &ZQCOVER::shifts),
        row.nested(CONV_LIST, 0x8, "pages", &ZQCOVER::pages, PAGE_TYPE),
        end,
    };
    return table;
}

CONVERTSTRUCTELEMENTINFO *pageTable()
{
    Rows<ZQPAGE> row;
    static CONVERTSTRUCTELEMENTINFO table[] = {
        row(CONV_FIXEDTEXT, TAG_NAME, "label", &ZQPAGE::label),
        row(CONV_INT32, 0x2, "number", &ZQPAGE::number),
        row(CONV_CHARACTER, 0x3, "side", &ZQPAGE::side),
        row(CONV_FLAG, 0x4, "turned", &ZQPAGE::turned),
        end,
    };
    return table;
}

std::map<unsigned int, CONVERTSTRUCTELEMENTINFO *> &registeredTables()
{
    static std::map<unsigned int, CONVERTSTRUCTELEMENTINFO *> tables;
    return tables;
}

} // namespace

const RecordType *findRecordType(unsigned int type)
{
    static const RecordType types[] = {
        {DBLIST_ENTRY_TYPE, sizeof(ZQDBLIST_ENTRY), entryTable()},
        {JOB_TYPE, sizeof(ZQJOBRECORD), jobTable()},
        {SEPARATION_TYPE, sizeof(ZQSEPARATION), separationTable()},
        {EVENT_TYPE, sizeof(ZQEVENT), eventTable()},
        {BOOK_TYPE, sizeof(ZQBOOKRECORD), bookTable()},
        {SECTION_TYPE, sizeof(ZQSECTION), sectionTable()},
        {COVER_TYPE, sizeof(ZQCOVER), coverTable()},
        {PAGE_TYPE, sizeof(ZQPAGE), pageTable()},
    };
    const auto found = std::find_if(std::begin(types), std::end(types),
                                    [type](const RecordType &candidate) { return candidate.type == type; });
    return found != std::end(types) ? found : nullptr;
}

CONVERTSTRUCTELEMENTINFO *ZQGetSystemStorageClassConv(unsigned int type)
{
    const auto registered = registeredTables().find(type);
    if (registered != registeredTables().end())
        return registered->second;
    const RecordType *const known = findRecordType(type);
    return known ? known->table : nullptr;
}

void ZQRegisterStorageClass(unsigned int type, CONVERTSTRUCTELEMENTINFO *table)
{
    if (table)
        registeredTables()[type] = table;
    else
        registeredTables().erase(type);
}

Field fieldOf(const CONVERTSTRUCTELEMENTINFO &row)
{
    switch (row.elementType) {
    case CONV_FIXEDTEXT:
        return {Storage::FixedText, row.fieldSize};
    case CONV_CHARACTER:
        return {Storage::Character, 1};
    case CONV_FLAG:
        return {Storage::Flag, 1};
    case CONV_UINT8:
    case CONV_UINT16:
    case CONV_UINT32:
    case CONV_UINT64:
    case CONV_NUMBER:
    case CONV_STATE:
    case CONV_RECORDID:
    case CONV_CHECKSUM:
        return {Storage::Unsigned, row.fieldSize};
    case CONV_INT8:
    case CONV_INT16:
    case CONV_INT32:
    case CONV_INT64:
    case CONV_TIME:
        return {Storage::Signed, row.fieldSize};
    case CONV_FLOAT:
    case CONV_DOUBLE:
        return {Storage::Real, row.fieldSize};
    case CONV_KEY:
        return {Storage::Key, row.fieldSize};
    case CONV_OFFSET:
        return {Storage::Offset, row.fieldSize};
    case CONV_UINT8ARRAY:
    case CONV_UINT16ARRAY:
    case CONV_UINT32ARRAY:
    case CONV_UINT64ARRAY:
    case CONV_NUMBERARRAY:
        return {Storage::UnsignedArray, row.fieldSize};
    case CONV_INT32ARRAY:
    case CONV_INT64ARRAY:
        return {Storage::SignedArray, row.fieldSize};
    case CONV_DOUBLEARRAY:
        return {Storage::RealArray, row.fieldSize};
    case CONV_TEXTARRAY:
        return {Storage::TextArray, row.fieldSize};
    case CONV_BINARYDATA:
        return {Storage::Bytes, row.fieldSize};
    case CONV_LIST:
        return {Storage::List, row.fieldSize};
    case CONV_ITEM:
        return {Storage::Item, row.fieldSize};
    default:
        return {Storage::Text, row.fieldSize};
    }
}
