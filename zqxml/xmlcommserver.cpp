// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlcommserver.h"

#include "xmlaction.h"
#include "xmlpacket.h"
#include "xmlrouter.h"

#include <recordlib/zqapp.h>

#include <map>

namespace {

// Values of the command server's own enumerations. The request's sort properties are not consulted.
constexpr ZQQUEUE jobQueue{3};
constexpr SORTTYPE sortType{4};
constexpr SORTORDER sortOrder{0};

void appendChain(ZQLIST_ELEMENT *&head, ZQLIST_ELEMENT *chain)
{
    if (chain)
        AddListList(&head, chain);
}

void appendJob(XMLPacket &packet, ZQJOB_CC &converter, const char *name, ZQJOB *job)
{
    converter.setName(name);
    ZQJOB_CC::trimLists(job);
    converter.setData(job);
    packet.appendV(converter, false);
}

} // namespace

XMLCommServer::XMLCommServer(ZQCommServer *server) :
    XMLAgent(COMM_SERVER_AGENT_TYPE), commServer(server)
{
}

XMLCommServer::~XMLCommServer() = default;

void XMLCommServer::receive(XMLPacket *packet)
{
    if (!packet)
        return;
    if (packet->isEmpty()) {
        delete packet;
        return;
    }
    std::list<QDomNode> actions;
    if (packet->getNodesOfType(XMLObject::XML_ACTION, actions) > 0) {
        XMLAction action;
        action.setNode(actions.front().toElement());
        const int requester = packet->getSourceAgentID();
        switch (action.getType()) {
        case REQUEST_OUTPUTS:
            sendOUTPUTs(requester);
            break;
        case REQUEST_PUBLICATIONS:
            sendPublications(requester, &action);
            break;
        case REQUEST_BOOKS:
            sendBooks(requester, &action);
            break;
        case REQUEST_JOBS:
            sendZQJOBs(requester, &action);
            break;
        default:
            break;
        }
    }
    packet->deleteLater();
}

ZQLIST_ELEMENT *XMLCommServer::getDBList(PACKETDATATYPES listType) const
{
    if (!commServer)
        return nullptr;
    ZQLPCOMMANDS commands{};
    BM_MESSAGE_ID messageId{};
    ZQLIST_ELEMENT *const entries = commServer->getDBList(commands, messageId, listType);
    // What came with an error is not to be trusted, not even to be freed.
    return commServer->iserror(commands) ? nullptr : entries;
}

ZQLIST_ELEMENT *XMLCommServer::getBooks(ZQKEY_ELEMENT key) const
{
    if (!commServer)
        return nullptr;
    ZQLPCOMMANDS commands{};
    BM_MESSAGE_ID messageId{};
    return commServer->getBooks(commands, messageId, sortType, sortOrder, key);
}

ZQLIST_ELEMENT *XMLCommServer::getBooks(const QList<ZQKEY_ELEMENT *> &keys) const
{
    ZQLIST_ELEMENT *books = nullptr;
    for (const ZQKEY_ELEMENT *const key : keys) {
        if (key)
            appendChain(books, getBooks(*key));
    }
    return books;
}

ZQLIST_ELEMENT *XMLCommServer::getZQJOBs(ZQKEY_ELEMENT key) const
{
    if (!commServer)
        return nullptr;
    const int id = commServer->getidfromzqkey(key);
    ZQLPCOMMANDS commands{};
    BM_MESSAGE_ID messageId{};
    return commServer->getJobqueue(commands, messageId, jobQueue, sortType, sortOrder, id);
}

ZQLIST_ELEMENT *XMLCommServer::getZQJOBs(const QList<ZQKEY_ELEMENT *> &keys) const
{
    ZQLIST_ELEMENT *jobs = nullptr;
    for (const ZQKEY_ELEMENT *const key : keys) {
        if (key)
            appendChain(jobs, getZQJOBs(*key));
    }
    return jobs;
}

void XMLCommServer::sendOUTPUTs(int requester) const
{
    ZQLIST_ELEMENT *entries = getDBList(OUTPUT_LIST_TYPE);
    if (!entries)
        return;
    // On purpose never deleted: the record library keeps it, with the last entry loaded.
    ZQPacketable *const converter = PacketableUtil::getPacketable(DBLIST_ENTRY_TYPE);
    if (!converter) {
        ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
        return;
    }
    XMLPacket *const packet = getXMLPacket(requester);
    for (ZQLIST_ELEMENT *entry = entries, *next = nullptr; entry; entry = next) {
        next = entry->next;
        RemoveItemFromList(&entries, entry);
        converter->setData(entry);
        packet->appendV(*converter, false);
    }
    reply(packet);
}

void XMLCommServer::sendZQJOBs(int requester, XMLAction *action) const
{
    // On purpose not the action's own default, which is false.
    const bool excludePublications
        = !action || !action->hasExcludePublications() || action->getExcludePublications();
    ZQLIST_ELEMENT *jobs = gatherJobs(action);
    XMLPacket *const packet = getXMLPacket(requester);
    ZQJOB_CC converter;
    for (ZQLIST_ELEMENT *element = jobs, *next = nullptr; element; element = next) {
        next = element->next;
        RemoveItemFromList(&jobs, element);
        ZQJOB *const job = static_cast<ZQJOB *>(element);
        if (excludePublications && job->publicationName)
            ZQPacketFreeItem(job, JOB_TYPE);
        else
            appendJob(*packet, converter, job->name, job);
    }
    reply(packet);
}

void XMLCommServer::sendPublications(int requester, XMLAction *action) const
{
    ZQLIST_ELEMENT *jobs = gatherJobs(action);
    if (!jobs)
        return;
    std::map<unsigned int, ZQJOB *> chosen;
    for (ZQLIST_ELEMENT *element = jobs; element; element = element->next) {
        ZQJOB *const job = static_cast<ZQJOB *>(element);
        if (!job->publicationName)
            continue;
        ZQJOB *&lowest = chosen[job->publicationID];
        if (!lowest || ZQJOB_CC::pageNumber(job) < ZQJOB_CC::pageNumber(lowest))
            lowest = job;
    }
    XMLPacket *const packet = getXMLPacket(requester);
    ZQJOB_CC converter;
    for (const auto &[publicationID, job] : chosen) {
        RemoveItemFromList(&jobs, job);
        appendJob(*packet, converter, job->publicationName, job); // on purpose not the job's own name
    }
    reply(packet);
    ZQPacketFreeList(&jobs, JOB_TYPE);
}

void XMLCommServer::sendBooks(int requester, XMLAction *action) const
{
    ZQLIST_ELEMENT *books
        = gather(action, BOOK_LIST_TYPE, [this](const auto &keyOrKeys) { return getBooks(keyOrKeys); });
    if (!books)
        return;
    XMLPacket *const packet = getXMLPacket(requester);
    BOOK_CC converter;
    for (ZQLIST_ELEMENT *element = books, *next = nullptr; element; element = next) {
        next = element->next;
        RemoveItemFromList(&books, element);
        converter.setName(static_cast<ZQBOOK *>(element)->name);
        converter.setData(element);
        packet->appendV(converter, false);
    }
    reply(packet);
}

template <typename Query>
ZQLIST_ELEMENT *XMLCommServer::gather(const XMLAction *action, PACKETDATATYPES listType, Query query) const
{
    ZQLIST_ELEMENT *found = nullptr;
    const QList<ZQKEY_ELEMENT *> keys
        = action && action->hasZQKEYList() ? action->getZQKEYList() : QList<ZQKEY_ELEMENT *>();
    if (!keys.isEmpty()) {
        found = query(keys);
        qDeleteAll(keys);
        return found;
    }
    ZQLIST_ELEMENT *entries = getDBList(listType);
    for (const ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next)
        appendChain(found, query(static_cast<const ZQDBLIST_ENTRY *>(entry)->key));
    ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
    return found;
}

ZQLIST_ELEMENT *XMLCommServer::gatherJobs(const XMLAction *action) const
{
    return gather(action, OUTPUT_LIST_TYPE, [this](const auto &keyOrKeys) { return getZQJOBs(keyOrKeys); });
}

void XMLCommServer::reply(XMLPacket *packet) const
{
    if (router)
        router->send(packet);
    else
        delete packet;
}
