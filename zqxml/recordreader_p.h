// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_RECORDREADER_P_H
#define ZQXML_RECORDREADER_P_H

#include "conversiontable_p.h"
#include "dom_p.h"
#include "packetlines_p.h"

#include <algorithm>
#include <array>

/**
 * \file
 * The way of a record from packet text to elements.
 */

namespace {

/** Makes the elements of fields for the document of their future parent; they hang nowhere. */
class ElementFactory
{
public:
    explicit ElementFactory(const QDomElement &parent) : document(parent.ownerDocument()) { }

    QDomElement withAttribute(const QString &tag, const QString &name, const QString &value)
    {
        QDomElement element = zqxml::newElement(document, tag);
        XMLObject::setAttribute(element, name, value);
        return element;
    }

    template <typename View>
    QDomElement key(const QString &tag, View value)
    {
        QDomElement element = zqxml::newElement(document, tag);
        Parts<View> words(value, ' ');
        View key, hkey, more;
        if (words.next(key) && words.next(hkey) && !words.next(more)) {
            XMLObject::setAttribute(element, XMLPacketable::KEY, stringOf(key));
            XMLObject::setAttribute(element, XMLPacketable::HKEY, stringOf(hkey));
        }
        return element;
    }

    template <typename View>
    QDomElement numberArray(const QString &tag, View value)
    {
        QDomElement element = zqxml::newElement(document, tag);
        Parts<View> words(value, ' ');
        View word;
        bool ok = false;
        const unsigned int count = words.next(word) ? toHex(word, &ok) : 0;
        if (ok && words.count() == count) {
            XMLObject::setAttribute(element, XMLPacketable::SIZE, count, 16);
            appendValues(element, words);
        }
        return element;
    }

    template <typename View>
    QDomElement stringArray(const QString &tag, View value)
    {
        QDomElement element = zqxml::newElement(document, tag);
        View word;
        bool ok = false;
        const unsigned int count = Parts<View>(value, ' ').next(word) ? toHex(word, &ok) : 0;
        if (!ok)
            return element;
        XMLObject::setAttribute(element, XMLPacketable::SIZE, count, 16);
        // On purpose the whole value is split, so the first text keeps the count in front.
        Parts<View> texts(value, '\r');
        if (texts.count() == count)
            appendValues(element, texts);
        return element;
    }

private:
    template <typename View>
    void appendValues(QDomElement &array, Parts<View> &texts)
    {
        if (array.isNull())
            return;
        for (View text; texts.next(text);) {
            QDomElement value = zqxml::newElement(document, XMLPacketable::VALUE);
            value.appendChild(zqxml::newText(document, stringOf(text)));
            array.appendChild(value);
        }
    }

    QDomDocument document;
};

/** Makes the elements of one record's fields by their rows. Those with the same tag share their name. */
class FieldFactory : public ElementFactory
{
public:
    using ElementFactory::ElementFactory;

    /** Returns null for a field of a kind without a shape. */
    template <typename View>
    QDomElement field(const CONVERTSTRUCTELEMENTINFO &row, View tag, View value)
    {
        const QString &name = nameOf(row.dataTag, tag);
        switch (shapeOf(row.elementType)) {
        case Shape::Simple:
            return withAttribute(name, XMLPacketable::VALUE, stringOf(value));
        case Shape::Key:
            return key(name, value);
        case Shape::NumberArray:
            return numberArray(name, value);
        case Shape::StringArray:
            return stringArray(name, value);
        case Shape::Binary:
            return withAttribute(name, XMLPacketable::VALUE,
                                 QStringLiteral("?? CONV_BINARYDATA (%1) ??").arg(QString::fromLatin1(row.fieldName)));
        case Shape::None:
            break;
        }
        return QDomElement();
    }

private:
    template <typename View>
    const QString &nameOf(unsigned int number, View tag)
    {
        QString &name = names[number % names.size()];
        if (!isSpeltAs(name, tag))
            name = stringOf(tag);
        return name;
    }

    template <typename View>
    static bool isSpeltAs(const QString &name, View tag)
    {
        if (name.size() != tag.size())
            return false;
        for (decltype(name.size()) i = 0; i < name.size(); ++i) {
            if (name.at(i).unicode() != tag.at(i).unicode())
                return false;
        }
        return true;
    }

    std::array<QString, 128> names; // as they were last spelt
};

/** Reads lines of packet text into children of an element. */
template <typename Lines>
class TreeReader
{
public:
    using View = typename Lines::View;

    TreeReader(QDomElement &parent, RowIndexes &indexes, RowIndex *rows, Lines &source)
        : lines(source), factory(parent), tables(indexes)
    {
        levels.push_back(Level{parent, rows});
    }

    /** Returns true when a marker ended the parent's own level, and false when the lines ran out. */
    bool read()
    {
        for (View line, tag, value; lines.next(line);) {
            if (!split(line.trimmed(), tag, value))
                continue;
            bool isNumber = false; // which no marker is
            const unsigned int number = toHex(tag, &isNumber);
            if (isNumber) {
                readField(number, tag, value);
            } else if (tag == XMLPacketable::END_ITEM || tag == XMLPacketable::END_LIST) {
                if (levels.size() == 1)
                    return true;
                close();
            } else if (tag == XMLPacketable::START_LIST) {
                open(XMLPacketable::LIST, XMLPacketable::SIZE, value, nullptr);
            } else if (tag == XMLPacketable::START_ITEM) {
                openItem(value);
            }
        }
        while (levels.size() > 1)
            close();
        return false;
    }

private:
    using Size = decltype(View().size());

    struct Level {
        QDomElement element; ///< null where nothing is kept; attached when the level is closed
        RowIndex *rows; ///< null where fields are left out
        Size tagSize = -1; ///< where the last line with a blank was split; -1 before any
        Size valueSize = 0;
    };

    // A line without a blank is split where the last line of its level was, as far as it reaches.
    bool split(View line, View &tag, View &value)
    {
        Level &level = levels.back();
        const Size found = static_cast<Size>(indexOf(line, ' ', 0));
        if (found >= 0) {
            level.tagSize = found;
            level.valueSize = line.size() - found - 1;
        } else if (level.tagSize < 0) {
            return false;
        }
        tag = line.mid(0, std::min(level.tagSize, line.size()));
        const Size from = std::min(level.tagSize + 1, line.size());
        value = line.mid(from, std::min(level.valueSize, line.size() - from));
        return true;
    }

    void openItem(View datatype)
    {
        bool ok = false;
        const unsigned int type = toHex(datatype, &ok);
        RowIndex *const rows = tables.ofType(type);
        open(XMLPacketable::ITEM, XMLPacketable::DATATYPE, datatype, rows);
        if (!rows) {
            // On purpose: an item that is not converted ends at once, and its first line is passed over. The level
            // around it reads the rest, its end marker included.
            close();
            View passedOver;
            lines.next(passedOver);
        }
    }

    void open(const QString &name, const QString &attribute, View value, RowIndex *rows)
    {
        const bool kept = levels.size() <= XMLPacketable::NESTING_LIMIT && !levels.back().element.isNull();
        levels.push_back(Level{kept ? factory.withAttribute(name, attribute, stringOf(value)) : QDomElement(), rows});
    }

    // An element is filled before it is attached: each attachment walks up to the document.
    void close()
    {
        const QDomElement element = levels.back().element;
        levels.pop_back();
        if (!element.isNull())
            levels.back().element.appendChild(element);
    }

    void readField(unsigned int number, View tag, View value)
    {
        Level &level = levels.back();
        if (!level.rows || level.element.isNull())
            return;
        if (const CONVERTSTRUCTELEMENTINFO *const row = level.rows->find(number)) {
            const QDomElement field = factory.field(*row, tag, value);
            if (!field.isNull())
                level.element.appendChild(field);
        }
    }

    Lines &lines;
    FieldFactory factory;
    RowIndexes &tables;
    std::vector<Level> levels;
};

/** Why the reading of lines into an element ended. */
enum class Ending { Marker, LastLine, NoTable };

/** Reads \a lines into children of \a parent, if that is an "item" by the table of its data type. */
template <typename Lines>
Ending readLines(QDomElement &parent, Lines &lines)
{
    RowIndexes tables;
    RowIndex *rows = nullptr;
    if (parent.nodeName() == XMLPacketable::ITEM) {
        rows = tables.ofItem(parent);
        if (!rows)
            return Ending::NoTable;
    }
    return TreeReader<Lines>(parent, tables, rows, lines).read() ? Ending::Marker : Ending::LastLine;
}

/** Reads the lines of \a text as readLines() does. */
template <typename View>
void readText(QDomElement &parent, View text)
{
    Parts<View> lines(text, '\n');
    readLines(parent, lines);
}

} // namespace

#endif
