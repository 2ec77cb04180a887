// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLRECORDS_H
#define ZQXMLKIT_XMLRECORDS_H

#include <zqxmlkit/xmlrecord.h>
#include <zqxmlkit/zqxmlkit_export.h>

#include <QDomElement>

#include <iterator>

class XMLPacket;

/** Goes through the records of XMLRecords; one record is reused for all of them. */
class ZQXMLKIT_EXPORT XMLRecordIterator
{
public:
    using iterator_category = std::input_iterator_tag; ///< Goes through once.
    using value_type = XMLRecord; ///< As the standard asks.
    using difference_type = std::ptrdiff_t; ///< As the standard asks.
    using pointer = const XMLRecord *; ///< As the standard asks.
    using reference = const XMLRecord &; ///< As the standard asks.

    /** Makes the iterator of the first "packetable" element from \a node on, among its siblings; null for the end. */
    explicit XMLRecordIterator(const QDomNode &node = QDomNode());

    const XMLRecord &operator*() const; ///< Returns the present record, valid until the next step.
    const XMLRecord *operator->() const; ///< Returns the present record, valid until the next step.
    XMLRecordIterator &operator++(); ///< Goes to the next record.
    void operator++(int); ///< Goes to the next record.
    bool operator==(const XMLRecordIterator &other) const; ///< Returns true when both stand on the same element.
    bool operator!=(const XMLRecordIterator &other) const; ///< Returns the negation of operator==().

private:
    XMLRecord record;
};

/**
 * The records of a packet, without copying their elements.
 * \code
 * for (const XMLRecord &record : XMLRecords(*packet))
 *     pages += record.value("pages").toInt();
 * \endcode
 * A view: it is used while the packet lives.
 */
class ZQXMLKIT_EXPORT XMLRecords
{
public:
    /** Makes an empty list. */
    XMLRecords();

    /** Makes a view of the records in the body of \a packet. */
    explicit XMLRecords(const XMLPacket &packet);

    /** Makes a view of the records that are children of \a parent: of the body of a packet, or of an action. */
    explicit XMLRecords(const QDomElement &parent);

    XMLRecordIterator begin() const; ///< Returns the first record.
    XMLRecordIterator end() const; ///< Returns the end, behind the last record.
    bool isEmpty() const; ///< Returns true when there is no record.

private:
    QDomElement parentElement;
};

#endif
