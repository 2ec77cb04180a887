// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrecordcursor_p.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacket.h>

#include <memory>

namespace {

// Values of the command server's own enumerations, those that the comm server agent asks with.
constexpr ZQQUEUE jobQueue{3};
constexpr SORTTYPE sortType{4};
constexpr SORTORDER sortOrder{0};

PACKETDATATYPES typeOfRecords(int request)
{
    switch (request) {
    case XMLCommServer::REQUEST_OUTPUTS:
        return DBLIST_ENTRY_TYPE;
    case XMLCommServer::REQUEST_BOOKS:
        return BOOK_TYPE;
    default:
        return JOB_TYPE;
    }
}

} // namespace

XMLRecordChain::~XMLRecordChain()
{
    clear();
}

void XMLRecordChain::clear()
{
    ZQPacketFreeList(&head, recordType);
    end = &head;
    count = 0;
}

void XMLRecordChain::setType(PACKETDATATYPES type)
{
    recordType = type;
}

void XMLRecordChain::append(ZQLIST_ELEMENT *chain)
{
    if (chain)
        AddListList(end, chain);
    for (; *end; end = &(*end)->next)
        ++count;
}

ZQLIST_ELEMENT *XMLRecordChain::takeFirst()
{
    ZQLIST_ELEMENT *const first = head;
    if (!first)
        return nullptr;
    RemoveItemFromList(&head, first);
    if (!head)
        end = &head;
    --count;
    return first;
}

std::size_t XMLRecordChain::size() const
{
    return count;
}

XMLRecordCursor::XMLRecordCursor(ZQCommServer *commServer, const XMLAction &action, int recordsOfAPage)
    : server(commServer), request(action.getType()), pageSize(static_cast<std::size_t>(recordsOfAPage)),
      excludePublications(!action.hasExcludePublications() || action.getExcludePublications()), isListed(false),
      failed(false), allSources(0), converted(0)
{
    records.setType(typeOfRecords(request));
    if (request == XMLCommServer::REQUEST_OUTPUTS)
        return;
    const QList<ZQKEY_ELEMENT *> given = action.hasZQKEYList() ? action.getZQKEYList() : QList<ZQKEY_ELEMENT *>();
    for (const ZQKEY_ELEMENT *const key : given)
        keys.push_back(*key);
    qDeleteAll(given);
    isListed = !keys.empty();
    allSources = static_cast<int>(keys.size());
}

XMLRecordCursor::~XMLRecordCursor()
{
    for (const auto &[publication, job] : lowestPages)
        ZQPacketFreeItem(job, JOB_TYPE);
}

bool XMLRecordCursor::isReady() const
{
    // One record more than a page: then more is to come for sure.
    return isListed && lowestPages.empty() && (keys.empty() || records.size() > pageSize);
}

void XMLRecordCursor::gather()
{
    if (isReady())
        return;
    if (!server) {
        isListed = true;
        keys.clear();
        return;
    }
    if (!isListed)
        list();
    else if (!keys.empty()) {
        const ZQKEY_ELEMENT key = keys.front();
        keys.pop_front();
        ask(key);
    }
    if (!isListed || !keys.empty())
        return;
    for (const auto &[publication, job] : lowestPages)
        records.append(job);
    lowestPages.clear();
}

void XMLRecordCursor::list()
{
    isListed = true;
    ZQLPCOMMANDS commands{};
    BM_MESSAGE_ID messageId{};
    const bool ofBooks = request == XMLCommServer::REQUEST_BOOKS;
    ZQLIST_ELEMENT *entries = server->getDBList(commands, messageId, ofBooks ? BOOK_LIST_TYPE : OUTPUT_LIST_TYPE);
    if (server->iserror(commands)) { // what came with it is not to be trusted, not even to be freed
        failed = true;
        return;
    }
    if (request == XMLCommServer::REQUEST_OUTPUTS) {
        records.append(entries);
        allSources = 1;
        return;
    }
    for (const ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next)
        keys.push_back(static_cast<const ZQDBLIST_ENTRY *>(entry)->key);
    allSources = static_cast<int>(keys.size());
    ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
}

void XMLRecordCursor::ask(const ZQKEY_ELEMENT &key)
{
    ZQLPCOMMANDS commands{};
    BM_MESSAGE_ID messageId{};
    if (request == XMLCommServer::REQUEST_BOOKS) {
        records.append(server->getBooks(commands, messageId, sortType, sortOrder, key));
    } else {
        const int id = server->getidfromzqkey(key);
        keepJobs(server->getJobqueue(commands, messageId, jobQueue, sortType, sortOrder, id));
    }
    if (server->iserror(commands)) {
        failed = true;
        keys.clear();
    }
}

void XMLRecordCursor::keepJobs(ZQLIST_ELEMENT *jobs)
{
    for (ZQLIST_ELEMENT *element = jobs, *next = nullptr; element; element = next) {
        next = element->next;
        RemoveItemFromList(&jobs, element);
        ZQJOB *const job = static_cast<ZQJOB *>(element);
        if (request == XMLCommServer::REQUEST_PUBLICATIONS ? !keepPage(job)
                                                           : excludePublications && job->publicationName)
            ZQPacketFreeItem(job, JOB_TYPE);
        else if (request == XMLCommServer::REQUEST_JOBS)
            records.append(job);
    }
}

bool XMLRecordCursor::keepPage(ZQJOB *job)
{
    if (!job->publicationName)
        return false;
    ZQJOB *&lowest = lowestPages[job->publicationID];
    if (lowest && ZQJOB_CC::pageNumber(job) >= ZQJOB_CC::pageNumber(lowest))
        return false;
    ZQPacketFreeItem(lowest, JOB_TYPE);
    lowest = job;
    return true;
}

void XMLRecordCursor::makePage(XMLPacket &packet)
{
    const auto makeConverter = [this]() -> ZQPacketable * {
        switch (request) {
        case XMLCommServer::REQUEST_OUTPUTS:
            return PacketableUtil::getPacketable(DBLIST_ENTRY_TYPE);
        case XMLCommServer::REQUEST_BOOKS:
            return new BOOK_CC;
        default:
            return new ZQJOB_CC;
        }
    };
    const std::unique_ptr<ZQPacketable> converter(makeConverter());
    if (!converter) {
        failed = true;
        records.clear();
    }
    for (std::size_t i = 0; i < pageSize; ++i) {
        ZQLIST_ELEMENT *const record = records.takeFirst();
        if (!record)
            return;
        convert(*converter, record);
        packet.appendV(*converter, false);
        ++converted;
    }
}

void XMLRecordCursor::convert(ZQPacketable &converter, ZQLIST_ELEMENT *record) const
{
    if (request == XMLCommServer::REQUEST_BOOKS) {
        converter.setName(static_cast<ZQBOOK *>(record)->name);
    } else if (request != XMLCommServer::REQUEST_OUTPUTS) {
        ZQJOB *const job = static_cast<ZQJOB *>(record);
        converter.setName(request == XMLCommServer::REQUEST_PUBLICATIONS ? job->publicationName : job->name);
        ZQJOB_CC::trimLists(job);
    }
    converter.setData(record);
}

bool XMLRecordCursor::isAtEnd() const
{
    return records.size() == 0 && keys.empty();
}

bool XMLRecordCursor::hasFailed() const
{
    return failed;
}

int XMLRecordCursor::position() const
{
    return converted;
}

int XMLRecordCursor::sourcesDone() const
{
    return allSources - static_cast<int>(keys.size());
}

int XMLRecordCursor::sources() const
{
    return allSources;
}
