// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLRECORDTABLE_P_H
#define ZQXMLKIT_XMLRECORDTABLE_P_H

#include <recordlib/zqlib.h>

#include <QDomNode>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

/** The rows of a conversion table that can be on the wire, found by tag and by name, and how their fields are read. */
class XMLRecordTable
{
public:
    /**
     * Returns the table of the data type \a type; null when it has none. The last one made for a type is kept by the
     * thread and used again unless the record library's table has changed.
     */
    static std::shared_ptr<const XMLRecordTable> ofType(unsigned int type);

    XMLRecordTable(unsigned int type, const CONVERTSTRUCTELEMENTINFO *table);

    unsigned int type() const;
    int size() const;
    QStringList names() const;

    int rowOfTag(unsigned int tag, int expected) const; ///< -1 for none; \a expected is where to look first.
    template <typename View>
    int rowOfName(View name) const; ///< -1 for none. For QLatin1String and QStringView.

    QVariant read(int row, const QDomNode &field) const;

private:
    enum class Kind { None, Text, Int, LongLong, UInt, ULongLong, Double, Float, Time, Flag, Key };
    struct Row {
        unsigned int tag;
        QLatin1String name;
        Kind kind;
        bool isArray;
    };

    bool isOf(const CONVERTSTRUCTELEMENTINFO *table) const;
    static Row toRow(const CONVERTSTRUCTELEMENTINFO &source);
    static QVariant toValue(Kind kind, const QString &text);
    static QVariant readArray(Kind kind, const QDomElement &field);
    template <typename View>
    std::size_t bucketOf(View name) const;

    const unsigned int dataType;
    std::vector<CONVERTSTRUCTELEMENTINFO> source; // as it was, without its last row
    std::vector<Row> rows;
    std::vector<short> buckets; // rows by their names' hashes; -1 where none
};

#endif
