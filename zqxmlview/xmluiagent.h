// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_XMLUIAGENT_H
#define ZQXMLVIEW_XMLUIAGENT_H

#include <zqxmlkit/xmlendpoint.h>
#include <zqxmlview/xmluibinder.h>

/**
 * A view of another agent's user interface, by packet: shows what that agent sends, and sends back what the user
 * triggers.
 * \code
 * XMLUIAgent view(&router, VIEW);
 * view.binder()->addTo(menu);
 * \endcode
 * The first agent that sends a user interface becomes its owner. What others send is left to the signals of
 * XMLEndpoint, until the owner goes and takes its user interface with it. A trigger is one packet with the action.
 */
class ZQXMLVIEW_EXPORT XMLUIAgent : public XMLEndpoint
{
    Q_OBJECT

public:
    /** Makes an agent of type \a type and registers it with \a router, which is not taken over. */
    XMLUIAgent(XMLRouter *router, int type, QObject *parent = nullptr);

    /** Returns what shows the user interface; it stays the agent's. */
    XMLUIBinder *binder() const;

    int owner() const; ///< Returns the id of the agent whose user interface is shown; 0 for none.

    /** Shows the user interface of the agent \a agent and of no other, until it goes; 0 for the first that sends one.
     */
    void setOwner(int agent);

Q_SIGNALS:
    /** The owner has gone, with its user interface, or another one was set. */
    void ownerChanged(int owner);

private:
    XMLUIBinder *const uiBinder;
    int ownerID;
};

#endif
