// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef DESK_DESKSTORE_H
#define DESK_DESKSTORE_H

#include <zqxml/xmlrouter.h>

#include <QObject>

#include <memory>

class LocalStore;
class XMLTransport;

/**
 * The desk's router, and who answers in it: a store that has a thread of its own, so that the desk never waits for it,
 * or whoever answers on a bus. Built without zqxmlgate there is the store alone, and it answers in the desk's thread.
 */
class DeskStore : public QObject
{
    Q_OBJECT

public:
    /**
     * Opens the store at \a location, a file or a URL, or the sample when that is empty. Null when it cannot be read;
     * \a error then says why, in one line.
     */
    static std::unique_ptr<DeskStore> open(const QString &location, QString *error);

#ifdef ZQXML_WITH_BUS
    /** Asks whoever answers on the bus of \a transport, as zqxml-serve does; they may come and go. */
    explicit DeskStore(std::unique_ptr<XMLTransport> transport);
#endif
    ~DeskStore() override;

    /** Returns the router, which stays the store's. Agents in it are to go before the store does. */
    XMLRouter *router();

    /** Returns the agent to ask for records, see XMLRecordServer; of several one by chance, and 0 while there is none.
     */
    int server();

Q_SIGNALS:
    void serverCame(); ///< There is one more who answers.
    void problem(const QString &line); ///< The store or the connection to the bus is in trouble.

private:
    DeskStore();

    std::unique_ptr<LocalStore> local;
    XMLRouter ownRouter;
    std::unique_ptr<QObject> joint; // what makes the answering agent appear in the router
};

#endif
