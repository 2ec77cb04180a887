// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrecordserver.h"

#include "xmlrecordcursor_p.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QTimerEvent>

#include <algorithm>
#include <list>

const QString XMLRecordServer::PAGE_SIZE = QStringLiteral("page_size");
const QString XMLRecordServer::SOURCES_DONE = QStringLiteral("sources_done");
const QString XMLRecordServer::SOURCES = QStringLiteral("sources");

struct XMLRecordServer::Session {
    Session(ZQCommServer *server, const XMLAction &action, int pageSize, int askerID)
        : asker(askerID), request(action.getType()), cursor(server, action, pageSize)
    {
    }

    const int asker;
    const int request;
    int pages = 0;
    bool isWanted = true;
    QBasicTimer idle; // while the next page is not wanted
    XMLRecordCursor cursor;
};

XMLRecordServer::XMLRecordServer(ZQCommServer *commServer, XMLRouter *xmlRouter, int type, QObject *parent)
    : QObject(parent), XMLAgent(type), server(commServer), ownRouter(xmlRouter), lastCursor(0), patience(60000)
{
    removalNotificationsWanted = true;
    if (ownRouter)
        ownRouter->add(this);
}

XMLRecordServer::~XMLRecordServer()
{
    // Agents that are told of the removal may destroy the parent, which is not to destroy this again.
    setParent(nullptr);
    if (ownRouter)
        ownRouter->remove(this);
}

void XMLRecordServer::setPatience(int milliseconds)
{
    patience = milliseconds;
}

int XMLRecordServer::openCursors() const
{
    return static_cast<int>(sessions.size());
}

void XMLRecordServer::receive(XMLPacket *packet)
{
    if (!packet)
        return;
    const std::unique_ptr<XMLPacket> owned(packet);
    std::list<QDomNode> actions;
    if (packet->getNodesOfType(XMLObject::XML_ACTION, actions) == 0)
        return;
    XMLAction action;
    action.setNode(actions.front().toElement());
    const int type = action.getType();
    if (type == NEXT_PAGE)
        wantPage(packet->getSourceAgentID(), action.getChannelID());
    else if (type >= XMLCommServer::REQUEST_OUTPUTS && type <= XMLCommServer::REQUEST_JOBS)
        openCursor(packet->getSourceAgentID(), action);
}

void XMLRecordServer::openCursor(int asker, const XMLAction &action)
{
    if (!ownRouter || !ownRouter->contains(asker)) // it was removed while its request waited: nobody will tell
        return;
    const int size = XMLObject::getPropertyInt(action.getNodeConst(), PAGE_SIZE);
    const int pageSize = size > 0 ? std::min(size, int{MAX_PAGE_SIZE}) : int{DEFAULT_PAGE_SIZE};
    sessions.emplace(++lastCursor, std::make_unique<Session>(server, action, pageSize, asker));
    wanted.push_back(lastCursor);
    turn.start(0, this);
}

void XMLRecordServer::wantPage(int asker, unsigned int cursor)
{
    const auto found = sessions.find(cursor);
    if (found == sessions.end() || found->second->asker != asker)
        return sendFailure(asker, cursor);
    if (found->second->isWanted)
        return;
    found->second->isWanted = true;
    found->second->idle.stop();
    wanted.push_back(cursor);
    turn.start(0, this);
}

void XMLRecordServer::sendFailure(int asker, unsigned int cursor)
{
    XMLAction action;
    action.setType(FAILED);
    action.setChannelID(cursor);
    XMLPacket *const packet = getXMLPacket(asker);
    packet->append(action);
    ownRouter->send(packet);
}

void XMLRecordServer::agentRemoved(int id)
{
    const bool isRouterGone = !ownRouter || !ownRouter->contains(XMLRouter::getXMLCommServerID());
    for (auto session = sessions.begin(); session != sessions.end();) {
        if (isRouterGone || session->second->asker == id)
            session = sessions.erase(session);
        else
            ++session;
    }
}

void XMLRecordServer::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == turn.timerId())
        return makeProgress();
    const auto silent = std::find_if(sessions.begin(), sessions.end(), [event](const auto &session) {
        return session.second->idle.timerId() == event->timerId();
    });
    if (silent != sessions.end())
        sessions.erase(silent);
}

void XMLRecordServer::makeProgress()
{
    std::map<unsigned int, std::unique_ptr<Session>>::iterator session = sessions.end();
    while (session == sessions.end() && !wanted.empty()) {
        session = sessions.find(wanted.front());
        wanted.pop_front();
    }
    if (session == sessions.end()) // all have ended meanwhile
        return turn.stop();
    if (session->second->cursor.isReady()) {
        sendPage(session->first, *session->second);
    } else {
        session->second->cursor.gather();
        wanted.push_back(session->first);
    }
    if (wanted.empty())
        turn.stop();
}

void XMLRecordServer::sendPage(unsigned int id, Session &session)
{
    XMLRecordCursor &cursor = session.cursor;
    XMLPacket *const packet = getXMLPacket(session.asker);
    XMLAction action;
    action.setChannelID(id);
    action.setPageNumber(++session.pages);
    action.setIndex(cursor.position());
    QDomElement node = action.getNode();
    XMLObject::setProperty(node, SOURCES_DONE, cursor.sourcesDone());
    XMLObject::setProperty(node, SOURCES, cursor.sources());
    QDomElement head = packet->append(action);
    cursor.makePage(*packet);
    const bool isEnd = cursor.isAtEnd();
    const int lastType = cursor.hasFailed() ? FAILED : LAST_PAGE;
    XMLObject::setAttribute(head, QStringLiteral("type"), isEnd ? lastType : PAGE);
    session.isWanted = false;
    session.idle.start(patience, this);
    if (isEnd)
        sessions.erase(id);
    ownRouter->send(packet);
}
