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

/** Joins chains. Each is appended at the end found before, since AddListList() walks from the head that it is given. */
class JoinedChain
{
public:
    void append(ZQLIST_ELEMENT *chain)
    {
        if (chain)
            AddListList(end, chain);
        while (*end)
            end = &(*end)->next;
    }

    ZQLIST_ELEMENT *first() const
    {
        return head;
    }

private:
    ZQLIST_ELEMENT *head = nullptr;
    ZQLIST_ELEMENT **end = &head;
};

void appendJob(XMLPacket &packet, ZQJOB_CC &converter, const char *name, ZQJOB *job)
{
    converter.setName(name);
    ZQJOB_CC::trimLists(job);
    converter.setData(job);
    packet.appendV(converter, false);
}

} // namespace

XMLCommServer::XMLCommServer(ZQCommServer *server) : XMLAgent(COMM_SERVER_AGENT_TYPE), commServer(server) { }

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
    JoinedChain books;
    for (const ZQKEY_ELEMENT *const key : keys) {
        if (key)
            books.append(getBooks(*key));
    }
    return books.first();
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
    JoinedChain jobs;
    for (const ZQKEY_ELEMENT *const key : keys) {
        if (key)
            jobs.append(getZQJOBs(*key));
    }
    return jobs.first();
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
    const bool excludePublications = !action || !action->hasExcludePublications() || action->getExcludePublications();
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
    // The chosen jobs leave the chain in one pass over it: each is unlinked where it is found.
    for (ZQLIST_ELEMENT **link = &jobs; *link;) {
        ZQJOB *const job = static_cast<ZQJOB *>(*link);
        if (job->publicationName && chosen[job->publicationID] == job)
            RemoveItemFromList(link, job);
        else
            link = &job->next;
    }
    XMLPacket *const packet = getXMLPacket(requester);
    ZQJOB_CC converter;
    for (const auto &[publicationID, job] : chosen)
        appendJob(*packet, converter, job->publicationName, job); // on purpose not the job's own name
    reply(packet);
    ZQPacketFreeList(&jobs, JOB_TYPE);
}

void XMLCommServer::sendBooks(int requester, XMLAction *action) const
{
    ZQLIST_ELEMENT *books =
        gather(action, BOOK_LIST_TYPE, [this](const auto &keyOrKeys) { return getBooks(keyOrKeys); });
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
    const QList<ZQKEY_ELEMENT *> keys =
        action && action->hasZQKEYList() ? action->getZQKEYList() : QList<ZQKEY_ELEMENT *>();
    if (!keys.isEmpty()) {
        ZQLIST_ELEMENT *const found = query(keys);
        qDeleteAll(keys);
        return found;
    }
    JoinedChain found;
    ZQLIST_ELEMENT *entries = getDBList(listType);
    for (const ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next)
        found.append(query(static_cast<const ZQDBLIST_ENTRY *>(entry)->key));
    ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
    return found.first();
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
