// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLRECORD_H
#define ZQXMLKIT_XMLRECORD_H

#include <recordlib/zqlib.h>
#include <zqxmlkit/zqxmlkit_export.h>

#include <QDomElement>
#include <QMetaType>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

class XMLRecordTable;

/**
 * One record in XML form, read by the field names of the conversion table of its data type.
 * \code
 * <packetable datatype="15" name="Cover"><item datatype="15">
 *  <1 value="Cover"/><2 key="a3" hkey="7"/><6 value="4"/>      value("page") is 4, key("key") is {0xa3, 7}
 * </item></packetable>
 * \endcode
 * A record is a view: it shares the element with its packet and is used while that lives. The fields are looked for
 * when the first is asked for; what is changed in the element later may be missed. The conversion tables are taken to
 * stay where they are while the record lives.
 */
class ZQXMLKIT_EXPORT XMLRecord
{
public:
    /** Makes a record without fields. */
    XMLRecord();

    /** Makes a view of \a packetable, the "packetable" element of a record. */
    explicit XMLRecord(const QDomElement &packetable);

    XMLRecord(const XMLRecord &other); ///< Makes a second view of the same element.
    XMLRecord &operator=(const XMLRecord &other); ///< Makes this a view of the other's element.
    ~XMLRecord();

    bool isNull() const; ///< Returns true when there is no element.
    QDomElement element() const; ///< Returns the "packetable" element, shared with the packet.
    QString name() const; ///< Returns the record's name; null when there is none.
    PACKETDATATYPES type() const; ///< Returns the record's data type; 0 when it is missing or no hexadecimal number.
    bool isCurrent() const; ///< Returns true when the record is marked as the current one.

    /**
     * Returns the names of the fields that the conversion table gives an XML form, in its order, whether this record
     * has them or not. Empty for a data type without a table.
     */
    QStringList fieldNames() const;

    /**
     * Returns the field \a name as a value of the field's own type:
     *
     * | conversion type | written in | value |
     * |---|---|---|
     * | 1, 2, 3: text, character | | QString |
     * | 4, 8, 28: signed of 8, 32, 16 bits | base 10 | int |
     * | 9: signed of 64 bits | base 10 | qlonglong |
     * | 7, 6, 29: unsigned of 8, 16, 32 bits | base 16 | unsigned int |
     * | 5: unsigned of 64 bits | base 16 | qulonglong |
     * | 13: unsigned by its size | base 16 | unsigned int for 1, 2 or 4 bytes, else qulonglong |
     * | 20, 21: state, record id | base 16 | unsigned int |
     * | 11, 24: double, float | base 10 | double, float |
     * | 12: time, seconds since 1970 | base 10 | QDateTime, UTC |
     * | 14: key | base 16 | ZQKEY_ELEMENT |
     * | 25: flag | 1, 0 | bool |
     * | 15, 27: signed of 32, 64 bits | base 10 | QVariantList of int, qlonglong |
     * | 19, 18, 31, 17: unsigned of 8, 16, 32, 64 bits; 16: by its size | base 16 | QVariantList as the single ones |
     * | 30: doubles | base 10 | QVariantList of double |
     * | 22: texts | | QStringList, the count in front of the first text taken off |
     *
     * Invalid for a name that the table does not have, for a field that the record does not have (an empty text has
     * none), for a malformed one, and for binary data, which does not travel. Where the table has a name twice, the
     * first row counts; of a field that the record has twice, the first.
     */
    QVariant value(const QString &name) const;
    QVariant value(const char *name) const; ///< As value(const QString &), for a Latin-1 literal.

    /** Returns the key field \a name; both halves 0 when it is missing or malformed. */
    ZQKEY_ELEMENT key(const QString &name) const;
    ZQKEY_ELEMENT key(const char *name) const; ///< As key(const QString &), for a Latin-1 literal.

private:
    friend class XMLRecordIterator;

    void show(const QDomElement &packetable);
    const XMLRecordTable *findFields() const;
    QVariant valueOfRow(int row) const;

    QDomElement packetableElement;
    mutable std::shared_ptr<const XMLRecordTable> table; // null until the first field is asked for
    mutable std::vector<QDomNode> fields; // by row of the table
    mutable bool searched;
};

Q_DECLARE_METATYPE(ZQKEY_ELEMENT)

#endif
