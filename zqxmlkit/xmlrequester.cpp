// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrequester.h"

#include "xmlrecordserver.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <utility>
#include <vector>

XMLRequester::XMLRequester(XMLRouter *xmlRouter, QObject *parent)
    : QObject(parent), XMLAgent(NO_AGENT_TYPE), ownRouter(xmlRouter)
{
    removalNotificationsWanted = true;
    if (!ownRouter)
        return;
    ownRouter->add(this);
    connect(ownRouter, &QObject::destroyed, this, [this] { endAll(XMLMailbox::AgentGone); });
}

XMLRequester::~XMLRequester()
{
    // Agents that are told of removals may destroy the parent, and may ask again.
    setParent(nullptr);
    const QPointer<XMLRouter> toLeave = std::exchange(ownRouter, nullptr);
    endAll(XMLMailbox::Cancelled);
    if (toLeave)
        toLeave->remove(this);
}

XMLReply *XMLRequester::request(int destination, XMLAction &action, int timeout)
{
    auto *const reply = new XMLReply(this, ownRouter, destination, timeout);
    reply->ask(action, answerLater.count(destination) == 0);
    return reply;
}

XMLReply *XMLRequester::requestOutputs(int timeout)
{
    return requestRecords(XMLCommServer::REQUEST_OUTPUTS, {}, false, timeout);
}

XMLReply *XMLRequester::requestJobs(const QList<ZQKEY_ELEMENT> &outputs, bool withPublications, int timeout)
{
    return requestRecords(XMLCommServer::REQUEST_JOBS, outputs, withPublications, timeout);
}

XMLReply *XMLRequester::requestPublications(const QList<ZQKEY_ELEMENT> &outputs, int timeout)
{
    return requestRecords(XMLCommServer::REQUEST_PUBLICATIONS, outputs, false, timeout);
}

XMLReply *XMLRequester::requestBooks(const QList<ZQKEY_ELEMENT> &publications, int timeout)
{
    return requestRecords(XMLCommServer::REQUEST_BOOKS, publications, false, timeout);
}

XMLReply *XMLRequester::requestRecords(int request, const QList<ZQKEY_ELEMENT> &keys, bool withPublications,
                                       int timeout)
{
    XMLAction action;
    action.setType(request);
    setKeys(action, keys);
    if (withPublications)
        action.setExcludePublications(false);
    return this->request(XMLRouter::getXMLCommServerID(), action, timeout);
}

XMLPages *XMLRequester::pages(int server, XMLAction &action, int pageSize, int timeout)
{
    XMLAction opening;
    opening.setNode(action.getNodeConst());
    QDomElement node = opening.getNode();
    XMLObject::setProperty(node, XMLRecordServer::PAGE_SIZE, pageSize);
    auto *const pages = new XMLPages(this, ownRouter, server, timeout);
    pages->ask(opening, false);
    return pages;
}

void XMLRequester::setAnswersLater(int agent, bool later)
{
    if (later)
        answerLater.insert(agent);
    else
        answerLater.erase(agent);
}

void XMLRequester::setKeys(XMLAction &action, const QList<ZQKEY_ELEMENT> &keys)
{
    QList<ZQKEY_ELEMENT> copies = keys;
    QList<ZQKEY_ELEMENT *> pointers;
    for (ZQKEY_ELEMENT &key : copies)
        pointers.append(&key);
    if (!pointers.isEmpty())
        action.setZQKEYList(pointers);
}

void XMLRequester::receive(XMLPacket *packet)
{
    delete packet;
}

void XMLRequester::agentRemoved(int id)
{
    if (!ownRouter || !ownRouter->contains(XMLRouter::getXMLCommServerID())) // it is being destroyed
        return endAll(XMLMailbox::AgentGone);
    answerLater.erase(id);
    for (auto mailbox = waiting.lower_bound({id, nullptr}); mailbox != waiting.end() && mailbox->first == id; ++mailbox)
        mailbox->second->expectNoMore();
}

void XMLRequester::endAll(XMLMailbox::State state)
{
    // The end of one may be the end of others, or of this: agents are told.
    const QPointer<XMLRequester> alive(this);
    while (alive && !waiting.empty())
        waiting.begin()->second->finish(state);
}
