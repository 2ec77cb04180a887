// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "drivers.h"

#include "generator.h"

#include "../tests/testtools.h"
#include "../tests/zqxml/plainconversion.h"

#include <standin/zqrecords.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>

#include <algorithm>
#include <cmath>

namespace {

QString differ(const char *what, const QString &found, const QString &expected)
{
    return found == expected ? QString()
                             : QStringLiteral("%1: found\n%2\nexpected\n%3").arg(QLatin1String(what), found, expected);
}

bool isEqual(const QDomNode &a, const QDomNode &b)
{
    const QDomNamedNodeMap attributes = a.attributes();
    if (a.nodeType() != b.nodeType() || a.nodeName() != b.nodeName() || a.nodeValue() != b.nodeValue()
        || attributes.length() != b.attributes().length())
        return false;
    for (int i = 0; i < attributes.length(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        if (b.toElement().attribute(attribute.name()) != attribute.value())
            return false;
    }
    QDomNode childA = a.firstChild();
    QDomNode childB = b.firstChild();
    for (; !childA.isNull() && !childB.isNull(); childA = childA.nextSibling(), childB = childB.nextSibling()) {
        if (!isEqual(childA, childB))
            return false;
    }
    return childA.isNull() && childB.isNull();
}

// The texts of trees are made for the report only: they take longer than the comparison.
QString differ(const char *what, const QDomNode &found, const QDomNode &expected)
{
    return isEqual(found, expected) ? QString() : differ(what, dump(found), dump(expected));
}

/** Returns the first report that is not empty. */
QString firstOf(std::initializer_list<QString> reports)
{
    for (const QString &report : reports) {
        if (!report.isEmpty())
            return report;
    }
    return QString();
}

/** A conversion table that is in force while this lives. */
class RegisteredTable
{
public:
    RegisteredTable(unsigned int dataType, const QByteArray &line) : type(dataType)
    {
        for (int i = 0; i + 2 < line.size(); i += 3) {
            const auto byte = [&line, i](int at) { return static_cast<unsigned char>(line.at(i + at)); };
            rows.push_back(CONVERTSTRUCTELEMENTINFO{
                wordOf(byte(0), 63), wordOf(byte(1), 15), i % 2 ? nullptr : "Bild \xe4 %1", byte(2) & 15u, {}});
        }
        rows.push_back(CONVERTSTRUCTELEMENTINFO{});
        ZQRegisterStorageClass(type, rows.data());
    }

    ~RegisteredTable()
    {
        ZQRegisterStorageClass(type, nullptr);
    }

    Q_DISABLE_COPY(RegisteredTable)

private:
    // Bytes beyond ASCII give large words, some of which share their low bits.
    static unsigned int wordOf(unsigned char byte, unsigned int mask)
    {
        return byte == 0xff ? 0xffffffffu : byte >= 0x80 ? (byte & mask) << 24 : byte & mask;
    }

    unsigned int type;
    std::vector<CONVERTSTRUCTELEMENTINFO> rows;
};

/** The tables in front of an input, and what follows them. */
class Tables
{
public:
    explicit Tables(const QByteArray &input)
        : rest(input), first(0x1f, takeLine(rest)), second(0x20, takeLine(rest)), never(6, QByteArrayLiteral("A11"))
    {
    }

    QByteArray rest;

private:
    static QByteArray takeLine(QByteArray &text)
    {
        const int end = static_cast<int>(text.indexOf('\n'));
        QByteArray line = text.left(end);
        text = end < 0 ? QByteArray("") : text.mid(end + 1);
        return line;
    }

    RegisteredTable first;
    RegisteredTable second;
    RegisteredTable never;
};

/** Builds the tree that an input of xmlToText() spells. */
class TreeBuilder
{
public:
    TreeBuilder(const QDomElement &root, const QByteArray &spelling)
        : document(root.ownerDocument()), current(root), text(spelling)
    {
    }

    void build()
    {
        while (at < text.size())
            step(text.at(at++));
    }

private:
    void step(char what)
    {
        switch (what) {
        case '<':
            open(take("<>=\"!;["));
            break;
        case '>':
            if (depth > 0) {
                --depth;
                current = current.parentNode().toElement();
            }
            break;
        case '=':
            setAttribute(take(";"));
            break;
        case '"':
            current.appendChild(document.createTextNode(takeValue()));
            break;
        case '!':
            current.appendChild(document.createComment(takeValue()));
            break;
        case '[':
            current.appendChild(document.createCDATASection(takeValue()));
            break;
        default:
            break;
        }
    }

    void open(const QByteArray &name)
    {
        // One level is the root's; plain and own form agree as long as nothing is left out.
        if (depth + 2 >= static_cast<int>(XMLPacketable::NESTING_LIMIT))
            return;
        const bool prefixed = name.startsWith("p:");
        const QByteArray local = prefixed ? name.mid(2) : name;
        const QString known = local == "I" ? XMLPacketable::ITEM
            : local == "L"                 ? XMLPacketable::LIST
            : local == "V"                 ? XMLPacketable::VALUE
                                           : QString::fromUtf8(local);
        if (known.isEmpty())
            return;
        ++depth;
        // Newer toolkits refuse to make elements with the names of fields.
        QDomElement element = prefixed ? document.createElementNS(QStringLiteral("urn:p"), QStringLiteral("p:x"))
                                       : document.createElement(QStringLiteral("x"));
        element.setTagName(known);
        current = current.appendChild(element).toElement();
    }

    void setAttribute(const QByteArray &attribute)
    {
        at = qMin(at + 1, static_cast<int>(text.size())); // the closing semicolon
        const char *const names[] = {"datatype", "hkey", "key", "size", "value"};
        for (const char *name : names) {
            if (!attribute.isEmpty() && attribute.at(0) == *name)
                current.setAttribute(QLatin1String(name), QString::fromUtf8(attribute.mid(1)));
        }
    }

    QByteArray take(const char *ends)
    {
        const int from = at;
        while (at < text.size() && !QByteArray(ends).contains(text.at(at)))
            ++at;
        return text.mid(from, at - from);
    }

    QString takeValue()
    {
        const QByteArray value = take(";");
        at = qMin(at + 1, static_cast<int>(text.size()));
        return QString::fromUtf8(value);
    }

    QDomDocument document;
    QDomElement current;
    const QByteArray text;
    int at = 0;
    int depth = 0;
};

/** Reads \a text by the library, from bytes and from lines, also below an item, and by the plain form. */
QString compareReading(const QByteArray &text, QDomElement &into)
{
    XMLPacketable plainObject;
    QDomElement plainNode = plainObject.getNode();
    XMLPacketable lineObject;
    QDomElement lineNode = lineObject.getNode();
    TextRecord record(text);
    XMLPacketable object;
    object.setData(record);
    into.appendChild(object.getNode());
    QDomElement node = into.lastChildElement();
    node.removeAttribute(XMLPacketable::DATATYPE);
    XMLPacketable bytesObject;
    QDomElement bytesNode = bytesObject.getNode();
    plain::read(bytesNode, text.constData(), static_cast<int>(text.size()));

    QStringList lines =
        QString::fromUtf8(text.constData(), static_cast<int>(text.size())).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const unsigned int end = XMLPacketable::toDom(lineNode, lines, 0);
    const unsigned int plainEnd = plain::toDom(plainNode, lines, 0);

    QDomElement item = XMLPacketable::createItemElement(lineNode, QStringLiteral("1f"));
    QDomElement plainItem = XMLPacketable::createItemElement(plainNode, QStringLiteral("1f"));
    const unsigned int itemEnd = XMLPacketable::toDom(item, lines, 1);
    const unsigned int plainItemEnd = plain::toDom(plainItem, lines, 1);
    return firstOf({differ("tree of the bytes", node, bytesNode), differ("tree of the lines", lineNode, plainNode),
                    differ("last line", QString::number(end), QString::number(plainEnd)),
                    differ("last line of an item", QString::number(itemEnd), QString::number(plainItemEnd))});
}

QByteArray recordText(ZQPacketable &record)
{
    unsigned int length = 0;
    const std::unique_ptr<char, decltype(&std::free)> buffer(record.toPacket(length), &std::free);
    return buffer ? QByteArray(buffer.get(), static_cast<int>(length)) : QByteArray();
}

template <typename Number, typename Parse>
QString plainList(const QString &text, int base, bool &ok, Parse parse)
{
    QList<Number> values;
    const QStringList parts = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    ok = true;
    for (const QString &part : parts) {
        bool parsed = false;
        const Number value = static_cast<Number>(parse(part, &parsed));
        if (parsed)
            values << value;
        ok = ok && parsed;
    }
    return XMLObject::toString(values, base);
}

bool isSame(double a, double b)
{
    return (std::isnan(a) && std::isnan(b)) || std::equal_to<double>()(a, b);
}

} // namespace

QByteArray drivers::textExample(quint32 seed)
{
    return Generator(seed).textInput();
}

QByteArray drivers::treeExample(quint32 seed)
{
    return Generator(seed).treeInput();
}

QString drivers::textToXml(const QByteArray &input)
{
    if (input.size() > MAXIMUM_SIZE)
        return QString();
    const Tables tables(input);
    XMLPacket packet;
    for (const PACKETDATATYPES type : {DBLIST_ENTRY_TYPE, JOB_TYPE, BOOK_TYPE}) {
        TextRecord record(tables.rest, type);
        packet.append(record, true);
    }
    XMLPacket copy;
    copy = packet;
    if (copy != packet)
        return QStringLiteral("a copy differs");
    std::list<QDomNode> nodes;
    copy.getNodesOfType(XMLObject::XML_PACKETABLE, nodes);
    for (QDomNode &node : nodes) {
        if (XMLObject::toString(node).isEmpty())
            return QStringLiteral("nothing printed");
        XMLPacketable object;
        object.setNode(node.toElement());
        const std::unique_ptr<ZQPacketable> record(object.getData());
        if (!record)
            continue;
        QString difference = differ("record", QString::fromUtf8(recordText(*record)),
                                    QString::fromUtf8(recordText(*object.getDataConst())));
        if (!difference.isEmpty())
            return difference;
    }
    XMLAction more;
    copy.append(more);
    return copy == packet ? QStringLiteral("a longer packet does not differ") : QString();
}

QString drivers::xmlToText(const QByteArray &input)
{
    if (input.size() > MAXIMUM_SIZE)
        return QString();
    const Tables tables(input);
    XMLPacketable object;
    TreeBuilder(object.getNode(), tables.rest).build();
    QDomElement node = object.getNode();
    const QString text = XMLPacketable::toPacket(node);
    const QString first = XMLPacketable::toPacket(node.firstChildElement());
    XMLPacketable job;
    job.setNode(node);
    job.setType(JOB_TYPE);
    job.getDataConst();
    return firstOf({differ("text", text, plain::toPacket(node)),
                    differ("text of the first element", first, plain::toPacket(node.firstChildElement())),
                    differ("text of a copy", XMLPacketable::toPacket(job.getNode()), text)});
}

QString drivers::numbers(const QByteArray &input)
{
    if (input.isEmpty() || input.size() > MAXIMUM_SIZE)
        return QString();
    const int base = 2 + static_cast<unsigned char>(input.at(0)) % 35;
    const QString text = QString::fromUtf8(input.constData() + 1, static_cast<int>(input.size()) - 1);
    bool signedOk = true; // an empty text leaves it so
    bool unsignedOk = true;
    bool plainSignedOk = false;
    bool plainUnsignedOk = false;
    const QList<int> list = XMLObject::toLongList(text, &signedOk, base);
    const QList<unsigned int> unsignedList = XMLObject::toULongList(text, &unsignedOk, base);
    const QString plainSigned = plainList<int>(
        text, base, plainSignedOk, [base](const QString &part, bool *parsed) { return part.toLong(parsed, base); });
    const QString plainUnsigned = plainList<unsigned int>(
        text, base, plainUnsignedOk, [base](const QString &part, bool *parsed) { return part.toULong(parsed, base); });
    const QString written = XMLObject::toString(list, base);
    const QString writtenUnsigned = XMLObject::toString(unsignedList, base);
    if (signedOk != plainSignedOk || unsignedOk != plainUnsignedOk)
        return QStringLiteral("what counts as a number");
    // Qt 5 writes a negative number as one of 64 bits in every base but ten, and that is no long.
    const bool comesBack = QT_VERSION >= QT_VERSION_CHECK(6, 0, 0) || base == 10
        || std::none_of(list.cbegin(), list.cend(), [](int value) { return value < 0; });
    if ((comesBack && XMLObject::toLongList(written, nullptr, base) != list)
        || XMLObject::toULongList(writtenUnsigned, nullptr, base) != unsignedList)
        return QStringLiteral("a list does not come back");

    XMLAction action;
    QDomElement e = action.getNode();
    const QString lists[] = {QStringLiteral("jobids"), QStringLiteral("zqkey_hkey_list"),
                             QStringLiteral("zqkey_key_list")};
    for (const QString &key : lists)
        XMLObject::setProperty(e, key, text);
    bool hexadecimalOk = true;
    const QList<int> hexadecimal = XMLObject::toLongList(text, &hexadecimalOk, 16);
    if (action.getJobIDs() != (hexadecimalOk ? hexadecimal : QList<int>()))
        return QStringLiteral("a list property");
    const QList<ZQKEY_ELEMENT *> keys = action.getZQKEYList();
    const bool keysAgree = keys.size() == XMLObject::getPropertyULongList(e, lists[1], 16).size();
    qDeleteAll(keys);
    const QString key = QStringLiteral("k");
    XMLObject::setProperty(e, key, text);
    XMLObject::setAttribute(e, key, text);
    const bool valuesAgree = XMLObject::getPropertyInt(e, key) == text.toInt()
        && XMLObject::getPropertyLong(e, key) == text.toLong()
        && XMLObject::getPropertyUInt(e, key, base) == text.toUInt(nullptr, base)
        && XMLObject::getPropertyULong(e, key, base) == text.toULong(nullptr, base)
        && XMLObject::getPropertyBool(e, key) == (text.toInt() == 1)
        && isSame(XMLObject::getPropertyDouble(e, key), text.toDouble())
        && XMLObject::getAttributeInt(e, key) == text.toInt() && XMLObject::getAttributeLong(e, key) == text.toLong()
        && XMLObject::getAttributeUInt(e, key, base) == text.toUInt(nullptr, base)
        && XMLObject::getAttributeULong(e, key, base) == text.toULong(nullptr, base)
        && XMLObject::getAttributeBool(e, key) == (text.toInt() == 1);
    return firstOf({differ("list", written, plainSigned), differ("unsigned list", writtenUnsigned, plainUnsigned),
                    differ("property", XMLObject::getProperty(e, key), text),
                    keysAgree ? QString() : QStringLiteral("keys"),
                    valuesAgree ? QString() : QStringLiteral("typed values")});
}

QString drivers::roundTrip(const QByteArray &input)
{
    if (input.size() > MAXIMUM_SIZE)
        return QString();
    const Tables tables(input);
    XMLPacketable holder;
    QDomElement all = holder.getNode();
    QString reading = compareReading(tables.rest, all);
    if (!reading.isEmpty())
        return reading;
    const QString text = XMLPacketable::toPacket(all.firstChildElement());
    const QString writing = differ("text", text, plain::toPacket(all.firstChildElement()));
    return writing.isEmpty() ? compareReading(text.toUtf8(), all) : writing;
}
