// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef RECORDLIB_ZQLIB_H
#define RECORDLIB_ZQLIB_H

/**
 * \file
 * What the library calls of `libZQlib`: plain structures and C functions. Only declarations; the application's own
 * library or our stand-in implements them. No Qt and no standard header is needed, so that the layout can be checked
 * for any target.
 */

/** Record data types, 32 bits. Other values than these are passed through unchanged. */
enum PACKETDATATYPES : unsigned int {
    DBLIST_ENTRY_TYPE = 8, ///< an entry of any database list, ZQDBLIST_ENTRY
    OUTPUT_LIST_TYPE = 15, ///< names the database list of outputs
    JOB_TYPE = 21, ///< a job, ZQJOB
    BOOK_LIST_TYPE = 85, ///< names the database list whose keys are asked for books
    BOOK_TYPE = 86 ///< a book, ZQBOOK
};

/** Queues of the command server. The values belong to the server. */
enum ZQQUEUE : unsigned int {};

/** Sort criteria of the command server. The values belong to the server. */
enum SORTTYPE : unsigned int {};

/** Sort directions of the command server. The values belong to the server. */
enum SORTORDER : unsigned int {};

/** The key of a record. */
struct ZQKEY_ELEMENT {
    unsigned int key; ///< first half, 32 bits
    unsigned int hkey; ///< second half, 32 bits
};

/**
 * One row of a conversion table: one field of a record type. A table is an array of rows that ends with a row whose
 * elementType is 0.
 */
struct CONVERTSTRUCTELEMENTINFO {
    unsigned int elementType; ///< conversion type code; 0 ends the table
    unsigned int dataTag; ///< the number that heads the field's line of packet text
    const char *fieldName; ///< NUL-terminated, Latin-1; stays with the table
    unsigned int fieldSize; ///< bytes
    unsigned int reserved[4]; ///< the record library's own
};

/** What every record of a chain begins with; a pointer to the first record is the chain. Null is the empty chain. */
struct ZQLIST_ELEMENT {
    ZQLIST_ELEMENT *next; ///< null in the last record
};

/** An entry of a database list, record data type 8. Its name is the twelfth word where pointers have 32 bits. */
struct ZQDBLIST_ENTRY : ZQLIST_ELEMENT {
    ZQKEY_ELEMENT key; ///< the key of the record that the entry stands for
    unsigned int reserved[8]; ///< the record library's own
    char *name; ///< NUL-terminated UTF-8, may be null; stays with the entry
};

/** The fields of a job that the library reads, record data type 21. The record library's own jobs hold more. */
struct ZQJOB : ZQLIST_ELEMENT {
    char *name; ///< NUL-terminated UTF-8, may be null; stays with the job
    char *publicationName; ///< NUL-terminated UTF-8; non-null exactly when the job is a page of a publication
    unsigned int publicationID; ///< the publication that the page belongs to
};

/** The fields of a book that the library reads, record data type 86. The record library's own books hold more. */
struct ZQBOOK : ZQLIST_ELEMENT {
    char *name; ///< NUL-terminated UTF-8, may be null; stays with the book
};

static_assert(sizeof(unsigned int) == 4, "words have 32 bits");
static_assert(sizeof(ZQKEY_ELEMENT) == 8, "a key is two words");
static_assert(sizeof(void *) != 4 || sizeof(CONVERTSTRUCTELEMENTINFO) == 32, "a row is eight words");
static_assert(sizeof(void *) != 4 || __builtin_offsetof(CONVERTSTRUCTELEMENTINFO, dataTag) == 4, "word 1");
static_assert(sizeof(void *) != 4 || __builtin_offsetof(CONVERTSTRUCTELEMENTINFO, fieldName) == 8, "word 2");
static_assert(sizeof(void *) != 4 || __builtin_offsetof(CONVERTSTRUCTELEMENTINFO, fieldSize) == 12, "word 3");
static_assert(sizeof(void *) != 4 || __builtin_offsetof(CONVERTSTRUCTELEMENTINFO, reserved) == 16, "words 4 to 7");
static_assert(sizeof(void *) != 4 || sizeof(ZQDBLIST_ENTRY) == 48, "an entry's name is its twelfth and last word");

extern "C" {

/**
 * Returns the conversion table of a record data type, or null when it has none. The table stays with the record
 * library.
 */
CONVERTSTRUCTELEMENTINFO *ZQGetSystemStorageClassConv(unsigned int type);

/**
 * Appends \a chain to the chain at \a head, which takes it over; an empty head takes the chain itself. The head may be
 * the `next` of a record within a longer chain.
 */
void AddListList(ZQLIST_ELEMENT **head, ZQLIST_ELEMENT *chain);

/**
 * Unlinks \a record from the chain at \a head. The record goes to the caller, its next is null. The head may be the
 * `next` of a record within a longer chain.
 */
void RemoveItemFromList(ZQLIST_ELEMENT **head, ZQLIST_ELEMENT *record);

/** Frees every record of the chain at \a head, all of data type \a type, and leaves the empty chain. */
void ZQPacketFreeList(ZQLIST_ELEMENT **head, PACKETDATATYPES type);

/** Frees one unlinked record of data type \a type; null is ignored. */
void ZQPacketFreeItem(ZQLIST_ELEMENT *record, PACKETDATATYPES type);

} // extern "C"

#endif
