// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_XMLROUTERLOG_H
#define ZQXMLTRACE_XMLROUTERLOG_H

#include <zqxml/xmlrouterobserver.h>
#include <zqxmltrace/zqxmltrace_export.h>

#include <QObject>
#include <QPointer>

class XMLRouter;

/**
 * Writes what a router does to Qt's logging category "zqxml.router", a line an event and without contents, while it
 * lives. The category is off until Qt's logging rules switch it on:
 * \code
 * QT_LOGGING_RULES="zqxml.router=true"
 * \endcode
 * It is the router's observer meanwhile. The router may go before the log, and the other way round.
 */
class ZQXMLTRACE_EXPORT XMLRouterLog : public XMLRouterObserver
{
public:
    explicit XMLRouterLog(XMLRouter *router); ///< Observes \a router, which is not taken over.
    ~XMLRouterLog() override; ///< Observes no more.

    void agentAdded(int id, int type) override; ///< Logs the event.
    void agentRemoved(int id) override; ///< Logs the event.
    void packetQueued(XMLPacket &packet) override; ///< Logs the event.
    void packetDropped(XMLPacket &packet, DropReason reason) override; ///< Logs the event and why.
    void packetAboutToBeDelivered(XMLPacket &packet, int destination) override; ///< Logs the event.
    void packetDelivered(int destination) override; ///< Logs the event.
    void packetUndeliverable(XMLPacket &packet) override; ///< Logs the event.

private:
    QPointer<QObject> router;
};

#endif
