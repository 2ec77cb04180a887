// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLRECORDCURSOR_P_H
#define ZQXMLKIT_XMLRECORDCURSOR_P_H

#include <recordlib/zqapp.h>

#include <cstddef>
#include <deque>
#include <map>

class XMLAction;
class XMLPacket;

/** A chain of records that is filled at its end and emptied at its beginning. */
class XMLRecordChain
{
public:
    XMLRecordChain() = default;
    ~XMLRecordChain();
    XMLRecordChain(const XMLRecordChain &) = delete;
    XMLRecordChain &operator=(const XMLRecordChain &) = delete;

    void setType(PACKETDATATYPES type); ///< Tells how what is left is freed.
    void append(ZQLIST_ELEMENT *chain); ///< Takes \a chain over.
    ZQLIST_ELEMENT *takeFirst(); ///< The caller frees it; null when there is none.
    void clear();
    std::size_t size() const;

private:
    ZQLIST_ELEMENT *head = nullptr;
    ZQLIST_ELEMENT **end = &head;
    std::size_t count = 0;
    PACKETDATATYPES recordType = DBLIST_ENTRY_TYPE;
};

/**
 * The records that answer one request to the comm server, asked for source by source and converted page by page. What
 * is found, its order, and the names that it gets, are those of XMLCommServer.
 */
class XMLRecordCursor
{
public:
    XMLRecordCursor(ZQCommServer *commServer, const XMLAction &action, int recordsOfAPage);
    ~XMLRecordCursor();
    XMLRecordCursor(const XMLRecordCursor &) = delete;
    XMLRecordCursor &operator=(const XMLRecordCursor &) = delete;

    bool isReady() const; ///< Returns true when a page can be made, and is known to be the last or not.
    void gather(); ///< Asks the server for the next source, unless ready. One blocking call, for jobs two.
    void makePage(XMLPacket &packet); ///< Converts the next page, once ready.

    bool isAtEnd() const; ///< Returns true, once ready, when no records are left.
    bool hasFailed() const; ///< Returns true when the server has failed; nothing more is asked then, and what was found
                            ///< before is still given.
    int position() const; ///< Returns how many records were converted.
    int sourcesDone() const;
    int sources() const;

private:
    void list();
    void ask(const ZQKEY_ELEMENT &key);
    void keepJobs(ZQLIST_ELEMENT *jobs);
    bool keepPage(ZQJOB *job);
    void convert(ZQPacketable &converter, ZQLIST_ELEMENT *record) const;

    ZQCommServer *const server;
    const int request;
    const std::size_t pageSize;
    bool excludePublications; // jobs only
    bool isListed; // whether the sources are known
    bool failed;
    std::deque<ZQKEY_ELEMENT> keys; // of the sources that are not asked yet
    int allSources;
    int converted;
    std::map<unsigned int, ZQJOB *> lowestPages; // of publications, until all jobs are seen; owned
    XMLRecordChain records;
};

#endif
