// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "standin/zqstandin.h"

#include "recordtypes_p.h"

#include <cstdlib>
#include <cstring>
#include <set>

namespace {

std::set<ZQPacketable *> liveConverters;

} // namespace

unsigned int ZQLiveConverters()
{
    return static_cast<unsigned int>(liveConverters.size());
}

void ZQFreeConverters()
{
    while (!liveConverters.empty())
        delete *liveConverters.begin();
}

ZQFAULTS &ZQFaults()
{
    static ZQFAULTS faults;
    return faults;
}

ZQPacketable::ZQPacketable(PACKETDATATYPES type) : payload(nullptr), dataType(type), reserved(), name(nullptr)
{
    liveConverters.insert(this);
}

ZQPacketable::~ZQPacketable()
{
    ZQPacketFreeItem(payload, dataType);
    std::free(name);
    liveConverters.erase(this);
}

// The reserved words hold nothing here.
// cppcheck-suppress operatorEqVarError
ZQPacketable &ZQPacketable::operator=(const ZQPacketable &other)
{
    if (this == &other)
        return *this;
    ZQPacketFreeItem(payload, dataType);
    dataType = other.dataType;
    payload = ZQCopyRecord(other.payload, other.dataType);
    setName(other.name);
    return *this;
}

char *ZQPacketable::toPacket(unsigned int &length)
{
    return ZQFaults().noText ? nullptr : ZQWriteRecord(payload, dataType, length);
}

bool ZQPacketable::fromPacket(char *text, unsigned int length, bool, bool)
{
    ZQLIST_ELEMENT *const record = ZQFaults().refusedText ? nullptr : ZQReadRecord(text, length, dataType);
    if (record)
        setData(record);
    return record;
}

void ZQPacketable::setData(ZQLIST_ELEMENT *record)
{
    if (record == payload)
        return;
    ZQPacketFreeItem(payload, dataType);
    payload = record;
}

void ZQPacketable::setName(const char *text)
{
    ZQSetText(name, text, text ? static_cast<unsigned int>(std::strlen(text)) : 0);
}

ZQPacketable *PacketableUtil::getPacketable(PACKETDATATYPES type)
{
    if (ZQFaults().unknownTypes)
        return nullptr;
    switch (type) {
    case JOB_TYPE:
        return new ZQJOB_CC;
    case BOOK_TYPE:
        return new BOOK_CC;
    default:
        return findRecordType(type) ? new ZQPacketable(type) : nullptr;
    }
}

ZQJOB_CC::ZQJOB_CC() : ZQPacketable(JOB_TYPE) { }

void ZQJOB_CC::trimLists(ZQJOB *job)
{
    if (!job)
        return;
    auto *const record = static_cast<ZQJOBRECORD *>(job);
    ZQPacketFreeList(&record->separations, SEPARATION_TYPE);
    ZQPacketFreeList(&record->events, EVENT_TYPE);
}

int ZQJOB_CC::pageNumber(const ZQJOB *job)
{
    return job ? static_cast<const ZQJOBRECORD *>(job)->page : 0;
}

BOOK_CC::BOOK_CC() : ZQPacketable(BOOK_TYPE) { }
