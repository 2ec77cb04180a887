// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_ZQRECORDS_H
#define STANDIN_ZQRECORDS_H

/**
 * \file
 * The records of the stand-in: their structures, the conversion types of their fields, and one reader, one writer, one
 * copy and one free function that serve them all by table. No Qt is needed.
 *
 * Packet text, as written and read here:
 *  - Lines end with a line feed. "SI" opens an item and carries its data type in hexadecimal, "TI 0" closes it; "SL"
 *    opens a list and carries the number of its items in hexadecimal, "TL 0" closes it. Every other line is a field:
 *    its tag in hexadecimal, one blank, its value.
 *  - An empty text, a character 0 and a null item or list have no line: a line that ends after its tag could not be
 *    told from others once trailing blanks are trimmed. Every other field is written always.
 *  - Carriage returns and line feeds within a text are written as blanks, so that no value breaks the format.
 *  - A list carries no tag: the data type of its items tells which field it is. So no record has two lists, or two
 *    items, of one data type, and none is nested in its own type.
 *
 * The reader refuses a text that is not exactly one record of the type asked for. Inside a record it is lenient, so
 * that one bad line costs one field:
 *  - A value that is malformed or out of range, and an array whose hexadecimal count is not the number of its values,
 *    leave their field empty. (A count of ten or more that was written in decimal never fits.)
 *  - Unknown tags, lines without a blank, and items and lists that the record has no place for are passed over. All
 *    items of a list have the data type of the first one that has a place; others are passed over.
 *  - Of a field, item or list that appears twice the last one counts. A text ends at a zero byte; a text of fixed size
 *    is cut to it between two UTF-8 characters.
 */

#include "recordlib/zqlib.h"

/** Conversion types of fields, CONVERTSTRUCTELEMENTINFO::elementType: how a field is stored and written. */
enum ZQCONVTYPE : unsigned int {
    CONV_TEXT = 1, ///< char *, UTF-8, may be null
    CONV_FIXEDTEXT = 2, ///< char[fieldSize], UTF-8, ends with a zero
    CONV_CHARACTER = 3, ///< char; nothing up to and including the blank is written
    CONV_INT8 = 4, ///< signed 8 bits, decimal
    CONV_UINT64 = 5, ///< unsigned 64 bits, hexadecimal
    CONV_UINT16 = 6, ///< unsigned 16 bits, hexadecimal
    CONV_UINT8 = 7, ///< unsigned 8 bits, hexadecimal
    CONV_INT32 = 8, ///< signed 32 bits, decimal
    CONV_INT64 = 9, ///< signed 64 bits, decimal
    CONV_CHECKSUM = 10, ///< unsigned 32 bits, hexadecimal; has no XML form
    CONV_DOUBLE = 11, ///< double, the fewest decimal digits that read back alike
    CONV_TIME = 12, ///< signed 64 bits, decimal: seconds since 1970-01-01 00:00 UTC
    CONV_NUMBER = 13, ///< unsigned, fieldSize 1, 2, 4 or 8, hexadecimal
    CONV_KEY = 14, ///< ZQKEY_ELEMENT, two hexadecimal numbers
    CONV_INT32ARRAY = 15, ///< ZQARRAY of signed 32 bits, decimal
    CONV_NUMBERARRAY = 16, ///< ZQARRAY of unsigned, fieldSize 1, 2, 4 or 8 each, hexadecimal
    CONV_UINT64ARRAY = 17, ///< ZQARRAY of unsigned 64 bits, hexadecimal
    CONV_UINT16ARRAY = 18, ///< ZQARRAY of unsigned 16 bits, hexadecimal
    CONV_UINT8ARRAY = 19, ///< ZQARRAY of unsigned 8 bits, hexadecimal
    CONV_STATE = 20, ///< unsigned 32 bits, hexadecimal: an enumeration
    CONV_RECORDID = 21, ///< unsigned 32 bits, hexadecimal: the id of a record
    CONV_TEXTARRAY = 22, ///< ZQARRAY of char *, none null; separated by carriage returns
    CONV_BINARYDATA = 23, ///< ZQARRAY of bytes, two hexadecimal digits each; never comes back from XML
    CONV_FLOAT = 24, ///< float, as CONV_DOUBLE
    CONV_FLAG = 25, ///< bool, 1 or 0
    CONV_OFFSET = 26, ///< ZQOFFSET, two decimal numbers; has no XML form
    CONV_INT64ARRAY = 27, ///< ZQARRAY of signed 64 bits, decimal
    CONV_INT16 = 28, ///< signed 16 bits, decimal
    CONV_UINT32 = 29, ///< unsigned 32 bits, hexadecimal
    CONV_DOUBLEARRAY = 30, ///< ZQARRAY of double, as CONV_DOUBLE
    CONV_UINT32ARRAY = 31, ///< ZQARRAY of unsigned 32 bits, hexadecimal
    CONV_LIST = 32, ///< ZQLIST_ELEMENT *, a chain of records of one data type; its line carries no tag
    CONV_ITEM = 33 ///< ZQLIST_ELEMENT *, one record; its line carries no tag
};

/** Data types of the records that are nested in jobs and books. */
constexpr PACKETDATATYPES SEPARATION_TYPE = static_cast<PACKETDATATYPES>(22); ///< ZQSEPARATION, in a job
constexpr PACKETDATATYPES EVENT_TYPE = static_cast<PACKETDATATYPES>(23); ///< ZQEVENT, in a job
constexpr PACKETDATATYPES SECTION_TYPE = static_cast<PACKETDATATYPES>(87); ///< ZQSECTION, in a book
constexpr PACKETDATATYPES COVER_TYPE = static_cast<PACKETDATATYPES>(88); ///< ZQCOVER, in a book
constexpr PACKETDATATYPES PAGE_TYPE = static_cast<PACKETDATATYPES>(89); ///< ZQPAGE, in a section or a cover

/** What the reserved words of a conversion table's row hold. */
enum ZQROWWORD {
    ROW_OFFSET = 0, ///< where the field lies in the structure, bytes
    ROW_CHILDTYPE = 1 ///< the data type of the records in a list or item field
};

/** What the reserved words of a ZQDBLIST_ENTRY hold. */
enum ZQENTRYWORD {
    ENTRY_ID = 0, ///< the record's id
    ENTRY_STATE = 1, ///< an output's state: 0 stopped, 1 running
    ENTRY_SPEED = 2, ///< an output's pages a minute
    ENTRY_RESOLUTION = 3, ///< an output's dots an inch
    ENTRY_JOBS = 4 ///< an output's jobs, or a publication's books
};

/** Data tags that readers of the XML form look for, hexadecimal on the wire. */
enum ZQDATATAG : unsigned int {
    TAG_NAME = 0x1, ///< of every type: the name
    TAG_KEY = 0x2, ///< of types 8, 21, 86: the key
    TAG_ID = 0x3, ///< of types 8, 21, 86: the id
    TAG_ENTRY_STATE = 0x4,
    TAG_ENTRY_SPEED = 0x5,
    TAG_ENTRY_RESOLUTION = 0x6,
    TAG_ENTRY_JOBS = 0x7,
    TAG_JOB_PUBLICATION = 0x4,
    TAG_JOB_PUBLICATIONID = 0x5,
    TAG_JOB_PAGE = 0x6,
    TAG_JOB_PUBLICATIONKEY = 0x1e,
    TAG_BOOK_PAGES = 0x5,
    TAG_BOOK_COPIES = 0x7
};

/** An array; the values are one block, freed with the record. */
struct ZQARRAY {
    unsigned int count; ///< of values
    void *values; ///< null when count is 0
};

/** A place on a sheet, micrometres. */
struct ZQOFFSET {
    int x; ///< to the right
    int y; ///< down
};

/** A colour separation of a job. */
struct ZQSEPARATION : ZQLIST_ELEMENT {
    char *ink; ///< name of the colour
    float angle; ///< of the screen, degrees
    double ruling; ///< of the screen, lines an inch
    unsigned char coverage; ///< percent
};

/** Something that happened to a job. */
struct ZQEVENT : ZQLIST_ELEMENT {
    char *text; ///< for people
    long long time; ///< seconds since 1970-01-01 00:00 UTC
    unsigned int kind; ///< 1 arrived, 2 checked, 3 rasterised
};

/** A job; what the base leaves out. */
struct ZQJOBRECORD : ZQJOB {
    ZQKEY_ELEMENT key; ///< by which it is asked for
    ZQKEY_ELEMENT publicationKey; ///< under which its books are asked for
    unsigned int id; ///< number in its store
    int page; ///< number within its publication; 0 for a stand-alone job
    unsigned int queue; ///< a ZQQUEUE
    unsigned int output; ///< id of the output that it waits for
    unsigned char priority; ///< 0 to 255, higher is sooner
    unsigned short copies; ///< to print
    unsigned long long bytes; ///< size of the job's file
    long long arrived; ///< seconds since 1970-01-01 00:00 UTC
    char paper[16]; ///< name of the paper size
    char format; ///< of the file: 'P' PDF, 'S' PostScript, 'T' TIFF
    bool held; ///< waits for somebody's approval
    double bleed; ///< millimetres
    float scale; ///< 1 is actual size
    short rotation; ///< degrees, counterclockwise
    ZQOFFSET offset; ///< where the page lies on the sheet
    unsigned int checksum; ///< of the job's file
    ZQARRAY digest; ///< bytes
    ZQARRAY trimBox; ///< double: left, top, right, bottom in millimetres
    ZQARRAY inks; ///< char *
    ZQARRAY coverage; ///< unsigned char: percent of each ink
    ZQARRAY spots; ///< unsigned short: numbers of the inks in the colour book
    ZQARRAY ranges; ///< unsigned int: first and last sheet of each part
    ZQARRAY chunks; ///< unsigned long long: where each part begins in the file
    ZQLIST_ELEMENT *separations; ///< chain of ZQSEPARATION
    ZQLIST_ELEMENT *events; ///< chain of ZQEVENT
};

/** A page of a section or a cover. */
struct ZQPAGE : ZQLIST_ELEMENT {
    int number; ///< in the book
    char label[12]; ///< as printed
    char side; ///< of the sheet: 'F' front, 'B' back
    bool turned; ///< stands head down on the sheet
};

/** A folded sheet of a book. */
struct ZQSECTION : ZQLIST_ELEMENT {
    char *name; ///< for people
    unsigned char number; ///< from 1, modulo 256
    signed char folds; ///< how often the sheet is folded; negative for a loose sheet
    ZQARRAY order; ///< int: page numbers in the order of the plate, negative where head down
    ZQLIST_ELEMENT *pages; ///< chain of ZQPAGE
};

/** The cover of a book. */
struct ZQCOVER : ZQLIST_ELEMENT {
    char *material; ///< for people
    double spine; ///< width, millimetres
    ZQARRAY inks; ///< unsigned char: inks outside and inside
    ZQARRAY weights; ///< unsigned short: grams a square metre of each layer
    ZQARRAY plates; ///< unsigned int: numbers of the plates
    ZQARRAY sizes; ///< unsigned long long: bytes of each plate
    ZQARRAY shifts; ///< long long: nanometres that each plate is shifted by
    ZQLIST_ELEMENT *pages; ///< chain of ZQPAGE
};

/** A book; what the base leaves out. */
struct ZQBOOKRECORD : ZQBOOK {
    ZQKEY_ELEMENT key; ///< by which it is asked for
    unsigned int id; ///< number in its store
    unsigned int publication; ///< id of the publication that it is made of
    unsigned short pages; ///< number of them
    unsigned char signature; ///< pages of a full section
    unsigned long long copies; ///< to print
    long long balance; ///< what the order still brings, in cents; negative when it costs
    ZQARRAY keywords; ///< char *
    ZQLIST_ELEMENT *cover; ///< one ZQCOVER
    ZQLIST_ELEMENT *sections; ///< chain of ZQSECTION
};

/**
 * Returns a new structure of data type \a type with every field zero, which the caller frees with ZQPacketFreeItem();
 * null for a type that has none. Records that are not made by this function must not be handed to the record library.
 */
ZQLIST_ELEMENT *ZQNewRecord(PACKETDATATYPES type);

/** As ZQNewRecord(), for a type known at compile time. */
template <typename Record>
Record *ZQNew(PACKETDATATYPES type)
{
    return static_cast<Record *>(ZQNewRecord(type));
}

/** Returns a deep copy of \a record, which is alone; the caller frees it. Null for null. */
ZQLIST_ELEMENT *ZQCopyRecord(const ZQLIST_ELEMENT *record, PACKETDATATYPES type);

/** Returns the packet text of \a record, \a length bytes to release with free(); null for a null record. */
char *ZQWriteRecord(const ZQLIST_ELEMENT *record, PACKETDATATYPES type, unsigned int &length);

/** Returns the record of \a length bytes of packet text, which the caller frees; null when it is none of \a type. */
ZQLIST_ELEMENT *ZQReadRecord(const char *text, unsigned int length, PACKETDATATYPES type);

/** Replaces the text in \a field by a copy of the \a size bytes at \a text, up to a zero byte; none become null. */
void ZQSetText(char *&field, const char *text, unsigned int size);

/**
 * Fills the \a size bytes at \a field with the \a length bytes at \a text, up to a zero byte. What is too long for them
 * and their final zero is cut off between two UTF-8 characters.
 */
void ZQSetFixedText(char *field, unsigned int size, const char *text, unsigned int length);

/** Empties \a array and returns room for \a count values of \a size bytes each, all zero; null for no values. */
void *ZQResizeArray(ZQARRAY &array, unsigned int count, unsigned int size);

/** Returns the number of structures alive, nested ones included. For the accounts of tests. */
unsigned int ZQLiveRecords();

/**
 * Makes \a table the conversion table of data type \a type until it is replaced; it stays the caller's. Null ends it.
 * Only ZQGetSystemStorageClassConv() is affected: how a structure is laid out and written stays as it is.
 */
void ZQRegisterStorageClass(unsigned int type, CONVERTSTRUCTELEMENTINFO *table);

#endif
