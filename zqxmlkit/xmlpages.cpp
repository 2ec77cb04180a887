// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlpages.h"

#include "xmlrecordserver.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacket.h>

#include <list>

XMLPages::XMLPages(XMLRequester *requester, XMLRouter *xmlRouter, int destination, int timeout)
    : XMLMailbox(requester, xmlRouter, destination, timeout), cursor(0), recordsBefore(0), askedSources(0),
      allSources(0)
{
}

XMLPages::~XMLPages() = default;

std::unique_ptr<XMLPacket> XMLPages::takePage()
{
    std::unique_ptr<XMLPacket> taken = std::move(page);
    if (taken && state() == Waiting) {
        XMLAction action;
        action.setType(XMLRecordServer::NEXT_PAGE);
        action.setChannelID(cursor);
        ask(action, false);
    }
    return taken;
}

int XMLPages::position() const
{
    return recordsBefore;
}

int XMLPages::sourcesDone() const
{
    return askedSources;
}

int XMLPages::sources() const
{
    return allSources;
}

void XMLPages::take(std::unique_ptr<XMLPacket> answer)
{
    std::list<QDomNode> actions;
    XMLAction action;
    if (answer->getNodesOfType(XMLObject::XML_ACTION, actions) > 0)
        action.setNode(actions.front().toElement());
    const int type = action.getType();
    if (page
        || (type != XMLRecordServer::PAGE && type != XMLRecordServer::LAST_PAGE && type != XMLRecordServer::FAILED))
        return; // nobody asked for this
    rest();
    page = std::move(answer);
    cursor = action.getChannelID();
    recordsBefore = action.getIndex();
    askedSources = XMLObject::getPropertyInt(action.getNodeConst(), XMLRecordServer::SOURCES_DONE);
    allSources = XMLObject::getPropertyInt(action.getNodeConst(), XMLRecordServer::SOURCES);
    QMetaObject::invokeMethod(this, &XMLPages::pageReceived, Qt::QueuedConnection);
    if (type != XMLRecordServer::PAGE)
        finish(type == XMLRecordServer::LAST_PAGE ? Answered : Failed);
}
