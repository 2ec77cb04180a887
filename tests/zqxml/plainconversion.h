// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_PLAINCONVERSION_H
#define TESTS_PLAINCONVERSION_H

#include <zqxml/xmlpacketable.h>

#include <QDomDocument>

/**
 * The conversion between packet text and XML with each step coded the obvious way: by recursion, through lists of
 * strings, with a linear search per line. The library's own is compared with it, in results here and in speed by the
 * benchmarks.
 */
namespace plain {

enum Shape { None, Simple, Key, Numbers, Strings, Binary };

inline Shape shapeOf(const CONVERTSTRUCTELEMENTINFO &row)
{
    // Numbers, 13 and 16, are of four sizes and of one shape.
    static const QList<unsigned int> simple{1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 12, 13, 20, 21, 24, 25, 28, 29};
    static const QList<unsigned int> numbers{15, 16, 17, 18, 19, 27, 30, 31};
    return simple.contains(row.elementType) ? Simple
        : numbers.contains(row.elementType) ? Numbers
        : row.elementType == 14             ? Key
        : row.elementType == 22             ? Strings
        : row.elementType == 23             ? Binary
                                            : None;
}

/** Returns false for an item that is not converted. */
inline bool findTable(const QDomElement &element, CONVERTSTRUCTELEMENTINFO *&table)
{
    table = nullptr;
    if (element.nodeName() != QLatin1String("item"))
        return true;
    const unsigned int type = element.attribute(QStringLiteral("datatype")).toUInt(nullptr, 16);
    table = type == 6 ? nullptr : ZQGetSystemStorageClassConv(type);
    return table;
}

inline CONVERTSTRUCTELEMENTINFO *findRow(CONVERTSTRUCTELEMENTINFO *table, const QString &tag)
{
    bool ok = false;
    const unsigned int number = tag.toUInt(&ok, 16);
    return ok ? XMLPacketable::getConvStructFromDataTag(table, number) : nullptr;
}

inline unsigned int toDom(QDomElement &parent, QStringList &lines, unsigned int start)
{
    CONVERTSTRUCTELEMENTINFO *table = nullptr;
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
        const QString tag = line.left(position);
        const QString value = line.mid(position + 1, length);
        if (tag == XMLPacketable::END_ITEM || tag == XMLPacketable::END_LIST)
            return i;
        if (tag == XMLPacketable::START_LIST) {
            QDomElement list = XMLObject::createElement(parent, XMLPacketable::LIST);
            XMLObject::setAttribute(list, XMLPacketable::SIZE, value);
            i = toDom(list, lines, i + 1);
        } else if (tag == XMLPacketable::START_ITEM) {
            QDomElement item = XMLObject::createElement(parent, XMLPacketable::ITEM);
            XMLObject::setAttribute(item, XMLPacketable::DATATYPE, value);
            i = toDom(item, lines, i + 1);
        } else if (const CONVERTSTRUCTELEMENTINFO *const row = findRow(table, tag)) {
            switch (shapeOf(*row)) {
            case Simple:
            case Binary: {
                QDomElement field = XMLObject::createElement(parent, tag);
                const QString placeholder = QStringLiteral("?? CONV_BINARYDATA (%1) ??");
                XMLObject::setAttribute(field, XMLPacketable::VALUE,
                                        shapeOf(*row) == Simple ? value
                                                                : placeholder.arg(QString::fromLatin1(row->fieldName)));
                break;
            }
            case Key: {
                QDomElement field = XMLObject::createElement(parent, tag);
                const QStringList words = value.split(QLatin1Char(' '), Qt::SkipEmptyParts);
                if (words.size() == 2) {
                    XMLObject::setAttribute(field, XMLPacketable::KEY, words.at(0));
                    XMLObject::setAttribute(field, XMLPacketable::HKEY, words.at(1));
                }
                break;
            }
            case Numbers: {
                QDomElement field = XMLObject::createElement(parent, tag);
                const QStringList words = value.split(QLatin1Char(' '), Qt::SkipEmptyParts);
                bool ok = false;
                const unsigned int count = words.value(0).toUInt(&ok, 16);
                if (ok && static_cast<quint64>(words.size()) == quint64(count) + 1) {
                    XMLObject::setAttribute(field, XMLPacketable::SIZE, count, 16);
                    for (int word = 1; word < words.size(); ++word) {
                        QDomElement entry = XMLObject::createElement(field, XMLPacketable::VALUE);
                        XMLObject::createTextNodeV(entry, words.at(word));
                    }
                }
                break;
            }
            case Strings: {
                QDomElement field = XMLObject::createElement(parent, tag);
                bool ok = false;
                const unsigned int count =
                    value.section(QLatin1Char(' '), 0, 0, QString::SectionSkipEmpty).toUInt(&ok, 16);
                if (!ok)
                    break;
                XMLObject::setAttribute(field, XMLPacketable::SIZE, count, 16);
                const QStringList texts = value.split(QLatin1Char('\r'), Qt::SkipEmptyParts);
                if (count != 0 && static_cast<quint64>(texts.size()) == count) {
                    for (const QString &text : texts) {
                        QDomElement entry = XMLObject::createElement(field, XMLPacketable::VALUE);
                        XMLObject::createTextNodeV(entry, text);
                    }
                }
                break;
            }
            case None:
                break;
            }
        }
    }
    return static_cast<unsigned int>(lines.size());
}

/** Reads \a text into children of \a parent. */
inline void read(QDomElement &parent, const char *text, int size)
{
    QStringList lines = QString::fromUtf8(text, size).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    toDom(parent, lines, 0);
}

inline QString joinValues(const QDomElement &field, const QString &separator, int &count)
{
    QStringList texts;
    for (QDomElement child = field.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        if (child.tagName() == XMLPacketable::VALUE)
            texts << child.text();
    }
    count = static_cast<int>(texts.size());
    return texts.join(separator);
}

inline QString toPacket(const QDomElement &element)
{
    QString text;
    CONVERTSTRUCTELEMENTINFO *table = nullptr;
    if (!element.hasChildNodes() || !findTable(element, table))
        return text;
    text.reserve(4096);
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
        const QString name = child.tagName();
        if (child.nodeName() == XMLPacketable::LIST) {
            text += QStringLiteral("%1 %2\n").arg(XMLPacketable::START_LIST).arg(child.attribute(XMLPacketable::SIZE));
            text += toPacket(child);
            text += QStringLiteral("%1 0\n").arg(XMLPacketable::END_LIST);
        } else if (child.nodeName() == XMLPacketable::ITEM) {
            text +=
                QStringLiteral("%1 %2\n").arg(XMLPacketable::START_ITEM).arg(child.attribute(XMLPacketable::DATATYPE));
            text += toPacket(child);
            text += QStringLiteral("%1 0\n").arg(XMLPacketable::END_ITEM);
        } else if (const CONVERTSTRUCTELEMENTINFO *const row = findRow(table, name)) {
            const Shape shape = shapeOf(*row);
            int count = 0;
            if (shape == Simple) {
                text += name + QLatin1Char(' ') + child.attribute(XMLPacketable::VALUE) + QLatin1Char('\n');
            } else if (shape == Key) {
                text += QStringLiteral("%1 %2 %3\n")
                            .arg(name)
                            .arg(child.attribute(XMLPacketable::KEY))
                            .arg(child.attribute(XMLPacketable::HKEY));
            } else if (shape == Numbers || shape == Strings) {
                const QString joined =
                    joinValues(child, shape == Numbers ? QStringLiteral(" ") : QStringLiteral("\r"), count);
                text += QStringLiteral("%1 %2 %3\n").arg(name).arg(count).arg(joined);
            }
        }
    }
    return text;
}

} // namespace plain

#endif
