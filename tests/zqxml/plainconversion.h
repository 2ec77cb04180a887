// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_PLAINCONVERSION_H
#define TESTS_PLAINCONVERSION_H

#include <recordlib/zqlib.h>

#include <QDomDocument>
#include <QStringList>

/**
 * The conversion between packet text and XML with each step coded the obvious way, without anything of the library's.
 * The library's own is compared with it, in results by the tests and the fuzzers and in speed by the benchmarks.
 */
namespace plain {

enum Shape { None, Simple, Key, Numbers, Strings, Binary };

inline Shape shapeOf(unsigned int elementType)
{
    // Numbers, 13 and 16, are of four sizes and of one shape.
    static const QList<unsigned int> simple{1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 20, 21, 24, 25, 28, 29};
    static const QList<unsigned int> numbers{15, 16, 17, 18, 19, 27, 30, 31};
    return simple.contains(elementType) ? Simple
        : numbers.contains(elementType) ? Numbers
        : elementType == 14             ? Key
        : elementType == 22             ? Strings
        : elementType == 23             ? Binary
                                        : None;
}

/** Returns false for an item that is not converted. */
inline bool findTable(const QDomElement &element, const CONVERTSTRUCTELEMENTINFO *&table)
{
    table = nullptr;
    if (element.nodeName() != QLatin1String("item"))
        return true;
    const unsigned int type = element.attribute(QStringLiteral("datatype")).toUInt(nullptr, 16);
    table = type == 6 ? nullptr : ZQGetSystemStorageClassConv(type);
    return table;
}

inline const CONVERTSTRUCTELEMENTINFO *findRow(const CONVERTSTRUCTELEMENTINFO *table, const QString &tag)
{
    bool ok = false;
    const unsigned int number = tag.toUInt(&ok, 16);
    for (; ok && table && table->elementType != 0; ++table) {
        if (table->dataTag == number)
            return table;
    }
    return nullptr;
}

inline QDomElement add(const QDomElement &parent, const QString &name)
{
    // Newer toolkits refuse to make elements with the names of fields.
    QDomElement child = parent.ownerDocument().createElement(QStringLiteral("x"));
    child.setTagName(name);
    return QDomElement(parent).appendChild(child).toElement();
}

inline void set(QDomElement element, const char *attribute, const QString &value)
{
    if (!value.isEmpty())
        element.setAttribute(QLatin1String(attribute), value);
}

inline void addEntries(const QDomElement &field, const QStringList &texts)
{
    for (const QString &text : texts) {
        QDomText node = field.ownerDocument().createTextNode(QString());
        node.setData(text);
        add(field, QStringLiteral("value")).appendChild(node);
    }
}

/** Appends the field that a line stands for, whose row has the given shape and name. */
inline QDomElement addField(const QDomElement &parent, Shape shape, const QString &tag, const QString &value,
                            const char *name = nullptr)
{
    if (shape == None)
        return QDomElement();
    QDomElement field = add(parent, tag);
    const QStringList words = value.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    bool counted = false;
    const unsigned int count = words.value(0).toUInt(&counted, 16);
    if (shape == Simple) {
        set(field, "value", value);
    } else if (shape == Binary) {
        set(field, "value", QStringLiteral("?? CONV_BINARYDATA (%1) ??").arg(QString::fromLatin1(name)));
    } else if (shape == Key && words.size() == 2) {
        set(field, "key", words.at(0));
        set(field, "hkey", words.at(1));
    } else if (shape == Numbers && counted && quint64(words.size()) == quint64(count) + 1) {
        set(field, "size", QString::number(count, 16));
        addEntries(field, words.mid(1));
    } else if (shape == Strings && counted) {
        set(field, "size", QString::number(count, 16));
        const QStringList texts = value.split(QLatin1Char('\r'), Qt::SkipEmptyParts); // the count is in the first
        if (quint64(texts.size()) == count)
            addEntries(field, texts);
    }
    return field;
}

inline unsigned int toDom(const QDomElement &parent, const QStringList &lines, unsigned int start)
{
    const CONVERTSTRUCTELEMENTINFO *table = nullptr;
    if (!findTable(parent, table))
        return start;
    bool split = false;
    int position = 0;
    int length = 0;
    for (unsigned int i = start; i < static_cast<unsigned int>(lines.size()); ++i) {
        const QString line = lines.at(static_cast<int>(i)).trimmed();
        const int found = static_cast<int>(line.indexOf(QLatin1Char(' ')));
        if (found >= 0) {
            split = true;
            position = found;
            length = static_cast<int>(line.size()) - found - 1;
        }
        if (!split)
            continue;
        // A line without a blank is split where the last one was.
        const QString tag = line.left(position);
        const QString value = line.mid(position + 1, length);
        if (tag == QLatin1String("TI") || tag == QLatin1String("TL"))
            return i;
        if (tag == QLatin1String("SL")) {
            const QDomElement list = add(parent, QStringLiteral("list"));
            set(list, "size", value);
            i = toDom(list, lines, i + 1);
        } else if (tag == QLatin1String("SI")) {
            const QDomElement item = add(parent, QStringLiteral("item"));
            set(item, "datatype", value);
            i = toDom(item, lines, i + 1);
        } else if (const CONVERTSTRUCTELEMENTINFO *const row = findRow(table, tag)) {
            addField(parent, shapeOf(row->elementType), tag, value, row->fieldName);
        }
    }
    return static_cast<unsigned int>(lines.size());
}

/** Reads \a text into children of \a parent. */
inline void read(const QDomElement &parent, const char *text, int size)
{
    toDom(parent, QString::fromUtf8(text, size).split(QLatin1Char('\n'), Qt::SkipEmptyParts), 0);
}

/** Fills the parts in one by one: a part that holds a marker takes the next one's place. */
inline QString fill(const QString &first, const QString &second, const QString &third)
{
    return QStringLiteral("%1 %2 %3\n").arg(first).arg(second).arg(third);
}

/** Returns the line of a field. */
inline QString lineOf(Shape shape, const QDomElement &field)
{
    const QString tag = field.tagName();
    if (shape == Simple)
        return tag + QLatin1Char(' ') + field.attribute(QStringLiteral("value")) + QLatin1Char('\n');
    if (shape == Key)
        return fill(tag, field.attribute(QStringLiteral("key")), field.attribute(QStringLiteral("hkey")));
    if (shape != Numbers && shape != Strings)
        return QString();
    QStringList texts;
    for (QDomElement child = field.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        if (child.tagName() == QLatin1String("value"))
            texts << child.text();
    }
    return fill(tag, QString::number(texts.size()), texts.join(QLatin1Char(shape == Numbers ? ' ' : '\r')));
}

inline QString toPacket(const QDomElement &element)
{
    QString text;
    const CONVERTSTRUCTELEMENTINFO *table = nullptr;
    if (!element.hasChildNodes() || !findTable(element, table))
        return text;
    text.reserve(4096);
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        if (child.nodeName() == QLatin1String("list"))
            text += QStringLiteral("SL ") + child.attribute(QStringLiteral("size")) + QLatin1Char('\n')
                + toPacket(child) + QStringLiteral("TL 0\n");
        else if (child.nodeName() == QLatin1String("item"))
            text += QStringLiteral("SI ") + child.attribute(QStringLiteral("datatype")) + QLatin1Char('\n')
                + toPacket(child) + QStringLiteral("TI 0\n");
        else if (const CONVERTSTRUCTELEMENTINFO *const row = findRow(table, child.tagName()))
            text += lineOf(shapeOf(row->elementType), child);
    }
    return text;
}

} // namespace plain

#endif
