// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLCOMMSERVER_H
#define ZQXML_XMLCOMMSERVER_H

#include <recordlib/zqlib.h>
#include <zqxml/xmlagent.h>

#include <QList>

class XMLAction;
class ZQCommServer;

/**
 * The agent through which other agents ask the application's command server for records. The router makes it, under
 * the id -1; an application never does.
 *
 * A request is an action in the body of a packet; its "type" is a request code and its key list narrows the question.
 * \code
 * <action type="1002"><zqkey_hkey_list>7</zqkey_hkey_list><zqkey_key_list>a3</zqkey_key_list></action>
 * \endcode
 * The answer is one packet to the sender of the request, with one "packetable" element a record. Only the first action
 * of a packet is looked at. Failures are not reported: what fails counts as nothing found. Calls of the command server
 * block; they are made on the router's thread, before receive() returns.
 */
class ZQXML_EXPORT XMLCommServer : public XMLAgent
{
public:
    /** The request codes, the "type" of a request action. Any other is not answered. */
    enum REQUEST_TYPE : int {
        REQUEST_OUTPUTS = 1000, ///< the outputs, sendOUTPUTs()
        REQUEST_PUBLICATIONS = 1001, ///< one job a publication, sendPublications()
        REQUEST_BOOKS = 1002, ///< books, sendBooks()
        REQUEST_JOBS = 1003 ///< jobs, sendZQJOBs()
    };

    /** Makes an agent that asks \a commServer, which is not taken over; with null it finds nothing. */
    explicit XMLCommServer(ZQCommServer *commServer);
    ~XMLCommServer() override; ///< Does nothing: the server is not owned.

    /** Answers the request in \a packet, if it is one, and disposes of the packet. Null is ignored. */
    void receive(XMLPacket *packet) override;

    /**
     * Returns the entries of the list \a listType, a chain of ZQDBLIST_ENTRY that the caller frees; null when the
     * server reports an error, or when there is no server.
     */
    ZQLIST_ELEMENT *getDBList(PACKETDATATYPES listType) const;

    /** Returns the books under \a key, a chain of ZQBOOK that the caller frees. */
    ZQLIST_ELEMENT *getBooks(ZQKEY_ELEMENT key) const;

    /** Returns the books under each of \a keys, in their order, as one chain of ZQBOOK that the caller frees. */
    ZQLIST_ELEMENT *getBooks(const QList<ZQKEY_ELEMENT *> &keys) const;

    /** Returns the jobs under \a key, a chain of ZQJOB that the caller frees. */
    ZQLIST_ELEMENT *getZQJOBs(ZQKEY_ELEMENT key) const;

    /**
     * Returns the jobs under each of \a keys, in their order, as one chain of ZQJOB that the caller frees. A job that
     * several keys yield stands in it several times.
     */
    ZQLIST_ELEMENT *getZQJOBs(const QList<ZQKEY_ELEMENT *> &keys) const;

    /**
     * Sends the outputs to the agent \a requester; nothing when there are none. The converter that the record library
     * gives for this is left to the record library, with the last entry that it took over.
     */
    void sendOUTPUTs(int requester) const;

    /**
     * Sends the jobs under the keys of \a action, or under all outputs when it has none, to the agent \a requester; an
     * empty packet when there are none. Pages of publications are left out unless "exclude_publications" is present and
     * false.
     */
    void sendZQJOBs(int requester, XMLAction *action) const;

    /**
     * Sends one job a publication, its lowest page under the name of the publication, of the jobs that sendZQJOBs()
     * finds, in ascending order of publication ids. Nothing when there are no jobs, an empty packet when none of them
     * belongs to a publication.
     */
    void sendPublications(int requester, XMLAction *action) const;

    /** Sends the books under the keys of \a action, or under all entries of the list of books; nothing for none. */
    void sendBooks(int requester, XMLAction *action) const;

private:
    template <typename Query>
    ZQLIST_ELEMENT *gather(const XMLAction *action, PACKETDATATYPES listType, Query query) const;
    ZQLIST_ELEMENT *gatherJobs(const XMLAction *action) const;
    void reply(XMLPacket *packet) const;

    ZQCommServer *commServer;
};

#endif
