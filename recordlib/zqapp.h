// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef RECORDLIB_ZQAPP_H
#define RECORDLIB_ZQAPP_H

/**
 * \file
 * What the library calls of `libzqapp`: the record class with its factory and converters, and the client of the
 * command server. Only declarations; the application's own library or our stand-in implements them.
 */

#include "zqlib.h"

/**
 * A binary record with its textual form, the packet text. Base class of every converter; always deleted through its
 * virtual destructor.
 */
class ZQPacketable
{
public:
    /** Makes an empty record of data type \a type: no payload, no name. */
    explicit ZQPacketable(PACKETDATATYPES type);
    virtual ~ZQPacketable(); ///< Frees the payload and the name.
    ZQPacketable(const ZQPacketable &) = delete;

    /** Takes the values of \a other over, as a copy. */
    ZQPacketable &operator=(const ZQPacketable &other);

    /**
     * Returns the packet text in UTF-8 and sets \a length to its bytes; null on failure. The caller releases the
     * buffer with free().
     */
    virtual char *toPacket(unsigned int &length);

    /**
     * Reads \a length bytes of packet text; true when the record accepted them and took their values. The text stays
     * the caller's. The meaning of the flags is the record library's; the XML conversion passes false and true.
     */
    virtual bool fromPacket(char *text, unsigned int length, bool first, bool second);

    /** Loads \a record, a structure of this data type, and takes it over; what was loaded before is freed. */
    virtual void setData(ZQLIST_ELEMENT *record);

    /** Sets the record's name to a copy of \a text, NUL-terminated UTF-8; null for none. */
    void setName(const char *text);

    ZQLIST_ELEMENT *payload; ///< the loaded structure, may be null; stays with the record
    PACKETDATATYPES dataType; ///< the record's data type
    unsigned int reserved[2]; ///< the record library's own
    char *name; ///< NUL-terminated UTF-8, may be null; stays with the record
};

/** Makes records by data type. */
class PacketableUtil
{
public:
    /** Returns a new, empty record, which the caller deletes; null for a type that the record library does not know. */
    static ZQPacketable *getPacketable(PACKETDATATYPES type);
};

/** Converter of jobs. */
class ZQJOB_CC : public ZQPacketable
{
public:
    ZQJOB_CC(); ///< Makes an empty converter.

    /** Removes from \a job the lists that a receiver of job lists has no use for. Null is ignored. */
    static void trimLists(ZQJOB *job);

    /** Returns the page number of \a job. */
    static int pageNumber(const ZQJOB *job);
};

/** Converter of books. */
class BOOK_CC : public ZQPacketable
{
public:
    BOOK_CC(); ///< Makes an empty converter.
};

/** Identifies one message exchanged with the command server; filled by every call, read by nobody here. */
struct BM_MESSAGE_ID {
    unsigned int id; ///< the server's own
};

/** The command block of one call; filled by the call, read through ZQCommServer::iserror(). */
struct ZQLPCOMMANDS {
    unsigned int error; ///< the server's own
};

/** The command server's connection; its members belong to the record library. */
struct ZQCONNECTION;

/**
 * Client of the application's command server. Every list is a chain that the caller owns and frees with
 * ZQPacketFreeList(). Calls block until the server has answered.
 */
class ZQCommServer
{
public:
    /** Asks over \a connection, which is taken over. */
    explicit ZQCommServer(ZQCONNECTION *connection);
    ~ZQCommServer(); ///< Closes the connection.
    ZQCommServer(const ZQCommServer &) = delete;
    ZQCommServer &operator=(const ZQCommServer &) = delete;

    /** Returns the entries of the database list \a listType, a chain of ZQDBLIST_ENTRY. */
    ZQLIST_ELEMENT *getDBList(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId, PACKETDATATYPES listType);

    /** Returns nonzero when the call that filled \a commands failed. */
    int iserror(ZQLPCOMMANDS &commands);

    /** Returns the books under \a key, a chain of ZQBOOK. */
    ZQLIST_ELEMENT *getBooks(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId, SORTTYPE sortType, SORTORDER sortOrder,
                             const ZQKEY_ELEMENT &key);

    /** Returns the id of the record under \a key. */
    int getidfromzqkey(const ZQKEY_ELEMENT &key);

    /** Returns the jobs of the record \a id in \a queue, a chain of ZQJOB. */
    ZQLIST_ELEMENT *getJobqueue(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId, ZQQUEUE queue, SORTTYPE sortType,
                                SORTORDER sortOrder, int id);

private:
    ZQCONNECTION *connection;
};

#endif
