// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLREQUESTER_H
#define ZQXMLKIT_XMLREQUESTER_H

#include <recordlib/zqlib.h>
#include <zqxml/xmlagent.h>
#include <zqxmlkit/xmlpages.h>
#include <zqxmlkit/xmlreply.h>
#include <zqxmlkit/zqxmlkit_export.h>

#include <QList>
#include <QObject>
#include <QPointer>

#include <set>
#include <utility>

class XMLAction;
class XMLRouter;

/**
 * Asks agents, and gives for each request one answer or a reason.
 *
 * Nothing is added to what is sent: each request comes from a mailbox agent of its own, to which the asked agent
 * answers as to any sender. So equal requests are told apart too, and none is taken for a repeat.
 *
 * An agent that has returned from receive() without an answer is taken not to answer: the request ends as
 * XMLMailbox::NoAnswer at once, without a time-out, as soon as all packets that followed from it are delivered and all
 * event loops that run within receive() have ended. Tell the requester with setAnswersLater() of agents that answer
 * from a timer, after requests of their own, or from another process. The end of receive() is seen in an event loop
 * that exec() runs: where processEvents() alone delivers the request, the end may be seen too late, or within a loop of
 * the asked agent.
 *
 * Router, requester, replies and asked agents may be destroyed at any moment, in any order, in any slot. Used on the
 * router's thread.
 */
class ZQXMLKIT_EXPORT XMLRequester : public QObject, private XMLAgent
{
    Q_OBJECT

public:
    /** Makes a requester that asks through \a router, which is not taken over. */
    explicit XMLRequester(XMLRouter *router, QObject *parent = nullptr);

    /** Ends what is open, without a signal unless it was given another parent. */
    ~XMLRequester() override;

    /**
     * Sends \a action, which is only read, to the agent \a destination. The reply is a child of this requester, see
     * XMLMailbox for how long it lives.
     * \param destination the agent that is asked
     * \param action the request
     * \param timeout milliseconds; 0 waits for one turn of the event loop, a negative one for ever
     */
    XMLReply *request(int destination, XMLAction &action, int timeout = 5000);

    /** Asks the comm server for its outputs. It does not answer when it has none. */
    XMLReply *requestOutputs(int timeout = 5000);

    /** Asks the comm server for the jobs under the keys \a outputs, of all outputs when that is empty. */
    XMLReply *requestJobs(const QList<ZQKEY_ELEMENT> &outputs = {}, bool withPublications = false, int timeout = 5000);

    /** Asks the comm server for one job a publication. It does not answer when there are no jobs. */
    XMLReply *requestPublications(const QList<ZQKEY_ELEMENT> &outputs = {}, int timeout = 5000);

    /** Asks the comm server for the books under the keys \a publications, or for all. No answer when there are none. */
    XMLReply *requestBooks(const QList<ZQKEY_ELEMENT> &publications = {}, int timeout = 5000);

    /**
     * Asks the XMLRecordServer \a server for the records that \a action, a request to the comm server, asks for, in
     * pages of \a pageSize records. \a timeout holds for each page, from when it is asked for.
     */
    XMLPages *pages(int server, XMLAction &action, int pageSize = 100, int timeout = 5000);

    /** Says whether the agent \a agent may answer after its receive() has returned. Not so at first. */
    void setAnswersLater(int agent, bool later = true);

    /** Writes the keys \a keys to \a action, as the comm server reads them; none when \a keys is empty. */
    static void setKeys(XMLAction &action, const QList<ZQKEY_ELEMENT> &keys);

private:
    friend class XMLMailbox;

    XMLReply *requestRecords(int request, const QList<ZQKEY_ELEMENT> &keys, bool withPublications, int timeout);
    void receive(XMLPacket *packet) override;
    void agentRemoved(int id) override;
    void endAll(XMLMailbox::State state);

    QPointer<XMLRouter> ownRouter;
    std::set<std::pair<int, XMLMailbox *>> waiting; // with the agent that each asks
    std::set<int> answerLater;
};

#endif
