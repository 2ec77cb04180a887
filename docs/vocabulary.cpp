// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Prints the page "Wire vocabulary". Every piece of XML on it was made by the library.

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlui.h>

#include <QCoreApplication>
#include <QMap>

#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

namespace {

constexpr unsigned int DEMO_TYPE = 0x1f; // a data type that the stand-in does not use

void write(const QString &text)
{
    std::fputs(text.toUtf8().constData(), stdout);
}

/** Returns the element as text with sorted attributes, for the toolkit's order changes; on one line for depth -1. */
QString toText(const QDomElement &element, int depth)
{
    const bool lines = depth >= 0;
    const QString end = lines ? QStringLiteral("\n") : QString();
    QString text = QString(lines ? depth : 0, QLatin1Char(' ')) + QLatin1Char('<') + element.tagName();
    if (!element.namespaceURI().isEmpty())
        text += QStringLiteral(" xmlns=\"%1\"").arg(element.namespaceURI());
    QMap<QString, QString> attributes;
    for (int i = 0; i < element.attributes().count(); ++i) {
        const QDomAttr attribute = element.attributes().item(i).toAttr();
        attributes.insert(attribute.name(), attribute.value().toHtmlEscaped());
    }
    for (auto each = attributes.cbegin(); each != attributes.cend(); ++each)
        text += QStringLiteral(" %1=\"%2\"").arg(each.key(), each.value());
    if (!element.hasChildNodes())
        return text + QStringLiteral("/>") + end;
    text += QLatin1Char('>');
    if (element.firstChild().isText())
        text += element.text().toHtmlEscaped();
    else
        text += end;
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        text += toText(child, lines ? depth + 1 : depth);
    if (!element.firstChild().isText() && lines)
        text += QString(depth, QLatin1Char(' '));
    return text + QStringLiteral("</%1>").arg(element.tagName()) + end;
}

void writeDocument(const QDomNode &anyNode)
{
    write(QStringLiteral("```xml\n") + toText(anyNode.ownerDocument().documentElement(), 0) + QStringLiteral("```\n"));
}

void writePacket()
{
    XMLMessage message(QStringLiteral("Plates are ready"));
    XMLImage image(QStringLiteral("preview"));
    image.setURL(QStringLiteral("http://example.org/preview.png"));
    XMLUI ui(QStringLiteral("jobs"));
    XMLAction action(QStringLiteral("Hold"), 3, 1);
    action.setEnabled(false);
    ui.append(action);
    XMLPacket packet;
    packet.setSourceAgentID(1);
    packet.setDestinationAgentID(2);
    packet.append(message);
    packet.append(image);
    writeDocument(packet.append(ui));
}

QString toText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString toText(const QString &value)
{
    return value.isNull() ? QStringLiteral("a null text") : value;
}

template <typename Value>
QString toText(const QList<Value> &value)
{
    return value.isEmpty() ? QStringLiteral("an empty list") : QStringLiteral("%1 entries").arg(value.size());
}

QString toText(const ZQKEY_ELEMENT &value)
{
    return QStringLiteral("key %1, hkey %2").arg(value.key).arg(value.hkey);
}

QString toText(int value)
{
    return QString::number(value);
}

QString toText(unsigned int value)
{
    return value == 0 ? QStringLiteral("0") : QStringLiteral("0x") + QString::number(value, 16).toUpper();
}

QString toText(double value)
{
    return QString::number(value, 'f', 1);
}

/** Writes the row of one property: how \a set keeps it and what \a get returns without it. */
template <typename Get, typename Set>
void writeProperty(const char *keys, const char *encoding, Get get, Set set)
{
    XMLAction action;
    const QString missing = toText((action.*get)());
    set(action);
    const QDomElement element = action.getNodeConst();
    QString xml;
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        xml += toText(child, -1);
    write(QStringLiteral("| %1 | %2 | %3 | `%4` |\n")
              .arg(QLatin1String(keys), QLatin1String(encoding), missing, xml.isEmpty() ? toText(element, -1) : xml));
}

void writeProperties()
{
    static ZQKEY_ELEMENT keys[] = {{0xa3, 0x7}, {0x2c, 0x0}};
    static const char *const number = "decimal number";
    static const char *const hexadecimal = "number in base 16";
    static const char *const list = "list of numbers in base 16";
    static const char *const flag = "`1` or `0`";
    static const char *const real = "six significant digits";
    using A = XMLAction;
    const auto row = [](auto... arguments) { writeProperty(arguments...); };
    row("attribute `name`", "text", &A::getName, [](A &a) { a.setName(QStringLiteral("Hold")); });
    row("attribute `type`", number, &A::getType, [](A &a) { a.setType(31); });
    row("attribute `originator`", number, &A::getOriginator, [](A &a) { a.setOriginator(31); });
    row("`visible`", flag, &A::getVisible, [](A &a) { a.setVisible(false); });
    row("`show_newest_page`", flag, &A::getShowNewestPage, [](A &a) { a.setShowNewestPage(true); });
    row("`enabled`", flag, &A::isEnabled, [](A &a) { a.setEnabled(false); });
    row("`checkable`", flag, &A::isCheckable, [](A &a) { a.setCheckable(true); });
    row("`checked`", flag, &A::isChecked, [](A &a) { a.setChecked(true); });
    row("`selected`", flag, &A::isSelected, [](A &a) { a.setSelected(true); });
    row("`org_name`", "text", &A::getOrgName, [](A &a) { a.setOrgName(QStringLiteral("Hold")); });
    row("`zqkey_hkey`, `zqkey_key`", hexadecimal, &A::getZQKEY, [](A &a) { a.setZQKEY(keys[0]); });
    row("`zqkey_hkey_list`, `zqkey_key_list`", list, &A::getZQKEYList, [](A &a) {
        a.setZQKEYList({&keys[0], &keys[1]});
    });
    row("`jobids`", list, &A::getJobIDs, [](A &a) { a.setJobIDs({10, 31}); });
    row("`zqjobids`", list, &A::getZQJobIDs, [](A &a) { a.setZQJobIDs({10, 31}); });
    row("`pagenum`", number, &A::getPageNumber, [](A &a) { a.setPageNumber(31); });
    row("`channel_id`", hexadecimal, &A::getChannelID, [](A &a) { a.setChannelID(31); });
    row("`index`", number, &A::getIndex, [](A &a) { a.setIndex(31); });
    row("`x`", number, &A::getX, [](A &a) { a.setX(31); });
    row("`y`", number, &A::getY, [](A &a) { a.setY(-31); });
    row("`x_double`", real, &A::getXDouble, [](A &a) { a.setXDouble(0.1); });
    row("`y_double`", real, &A::getYDouble, [](A &a) { a.setYDouble(1234567.8); });
    row("`colour`", "0xRRGGBB in base 16", &A::getColour, [](A &a) { a.setColour(0xff8000); });
    row("`need_update`", flag, &A::getNeedUpdate, [](A &a) { a.setNeedUpdate(true); });
    row("`exclude_publications`", flag, &A::getExcludePublications, [](A &a) { a.setExcludePublications(true); });
    row("`paint_pixmap`", flag, &A::getPaintPixmap, [](A &a) { a.setPaintPixmap(true); });
    row("`sort_ascending`", flag, &A::getSortAscending, [](A &a) { a.setSortAscending(true); });
    row("`sort_type`", number, &A::getSortType, [](A &a) { a.setSortType(31); });
}

/** Keeps the reply and ends the event loop. */
class Asker : public XMLAgent
{
public:
    Asker() : XMLAgent(100) { }

    void receive(XMLPacket *packet) override
    {
        reply.reset(packet);
        QCoreApplication::quit();
    }

    std::unique_ptr<XMLPacket> reply;
};

void writeRequest(ZQCommServer &server, const char *name, XMLAction &action)
{
    XMLRouter router(&server);
    Asker asker;
    router.add(&asker);
    XMLPacket *const request = asker.getXMLPacket(XMLRouter::getXMLCommServerID());
    write(QStringLiteral("\n### %1, %2\n\n").arg(action.getType()).arg(QLatin1String(name)));
    writeDocument(request->append(action));
    router.send(request);
    QCoreApplication::exec();

    std::list<QDomNode> records;
    const int count = asker.reply->getNodesOfType(XMLObject::XML_PACKETABLE, records);
    Q_ASSERT(count > 0);
    for (auto record = std::next(records.begin()); record != records.end(); ++record)
        record->parentNode().removeChild(*record);
    write(QStringLiteral("\nThe answer, with the first of its %1 records:\n\n").arg(count));
    writeDocument(records.front());
    router.remove(&asker);
}

void writeRequests(ZQCommServer &server)
{
    ZQKEY_ELEMENT output = {0x9e3779b1, 0x10};
    ZQKEY_ELEMENT publication = {0x82f8634a, 0x20};
    XMLAction outputs(QString(), XMLCommServer::REQUEST_OUTPUTS, 1);
    XMLAction publications(QString(), XMLCommServer::REQUEST_PUBLICATIONS, 1);
    publications.setZQKEYList({&output});
    XMLAction books(QString(), XMLCommServer::REQUEST_BOOKS, 1);
    books.setZQKEYList({&publication});
    XMLAction jobs(QString(), XMLCommServer::REQUEST_JOBS, 1);
    jobs.setZQKEYList({&output});
    jobs.setExcludePublications(false);
    writeRequest(server, "outputs", outputs);
    writeRequest(server, "publications", publications);
    writeRequest(server, "books", books);
    writeRequest(server, "jobs", jobs);
}

/** A conversion type and the size of its field; size 0 stands for any. */
using FieldType = std::pair<unsigned int, unsigned int>;

/** Returns what becomes of a line of packet text, and of the element when it is written back, as table columns. */
QString roadOf(FieldType type, const QString &line)
{
    CONVERTSTRUCTELEMENTINFO table[] = {{type.first, 1, "digest", type.second, {}}, {}};
    ZQRegisterStorageClass(DEMO_TYPE, table);
    QStringList lines{QStringLiteral("SI ") + QString::number(DEMO_TYPE, 16), line, QStringLiteral("TI 0")};
    XMLPacketable object;
    QDomElement node = object.getNode();
    XMLPacketable::toDom(node, lines, 0);
    const QDomElement field = node.firstChildElement().firstChildElement();
    const QString back = XMLPacketable::toPacket(node.firstChildElement()).remove(QLatin1Char('\n'));
    ZQRegisterStorageClass(DEMO_TYPE, nullptr);

    const auto column = [](const QString &text) {
        return text.isEmpty() ? QStringLiteral("left out") : QStringLiteral("`%1`").arg(text);
    };
    return QStringLiteral("%1 | %2 | %3")
        .arg(column(line), column(field.isNull() ? QString() : toText(field, -1)),
             back == line ? QStringLiteral("the same") : column(back))
        .replace(QLatin1Char('\r'), QLatin1String("\\r"));
}

/** Writes one row for all \a types that treat the line alike, and one for each that does not. */
void writeFields(const char *shape, const char *value, const std::vector<FieldType> &types)
{
    QMap<QString, QStringList> rows;
    for (const FieldType &type : types) {
        QString name = QString::number(type.first);
        if (type.second != 0)
            name += QStringLiteral(" (size %1)").arg(type.second);
        rows[roadOf(type, QStringLiteral("1 ") + QString::fromUtf8(value))] << name;
    }
    for (auto row = rows.cbegin(); row != rows.cend(); ++row)
        write(QStringLiteral("| %1 | %2 | %3 |\n")
                  .arg(row.value().join(QLatin1String(", ")), QLatin1String(shape), row.key()));
}

void writeFields()
{
    const std::vector<FieldType> numberArrays = {{15, 0}, {16, 1}, {16, 2}, {16, 4}, {16, 8}, {17, 0},
                                                 {18, 0}, {19, 0}, {27, 0}, {30, 0}, {31, 0}};
    writeFields("simple", "1f",
                {{1, 0},  {2, 0},  {3, 0},  {4, 0},  {5, 0},  {6, 0},  {7, 0},  {8, 0},  {9, 0},  {11, 0}, {12, 0},
                 {13, 1}, {13, 2}, {13, 4}, {13, 8}, {20, 0}, {21, 0}, {24, 0}, {25, 0}, {28, 0}, {29, 0}});
    writeFields("key", "a3 7", {{14, 0}});
    writeFields("number array", "3 10 20 30", numberArrays);
    writeFields("number array of ten", "a 0 1 2 3 4 5 6 7 8 9", numberArrays);
    writeFields("string array", "2 first\rsecond", {{22, 0}});
    writeFields("binary data", "00ff", {{23, 0}});
    writeFields("none", "1f", {{10, 0}, {26, 0}, {32, 0}, {33, 0}});
}

/** How the stand-in writes the value of a field; the place is the element type, from 1 on. */
const char *const VALUES[] = {"text",
                              "text",
                              "one character",
                              "decimal",
                              "base 16",
                              "base 16",
                              "base 16",
                              "decimal",
                              "decimal",
                              "base 16; not in the XML",
                              "decimal, with a point",
                              "decimal: seconds since 1970",
                              "base 16",
                              "two numbers in base 16",
                              "decimal numbers",
                              "numbers in base 16",
                              "numbers in base 16",
                              "numbers in base 16",
                              "numbers in base 16",
                              "base 16: one of a few states",
                              "base 16: the number of a record",
                              "texts",
                              "bytes; in the XML a placeholder",
                              "decimal, with a point",
                              "`1` or `0`",
                              "not in the XML",
                              "decimal numbers",
                              "decimal",
                              "base 16",
                              "decimal numbers, with a point",
                              "numbers in base 16",
                              "records, as a `list`",
                              "a record, as an `item`"};

/** Writes the fields of the sample's records, from the conversion tables. */
void writeTags()
{
    const std::pair<unsigned int, const char *> records[] = {{DBLIST_ENTRY_TYPE, "an output"},
                                                             {JOB_TYPE, "a job"},
                                                             {SEPARATION_TYPE, "a separation of a job"},
                                                             {EVENT_TYPE, "an event of a job"},
                                                             {BOOK_TYPE, "a book"},
                                                             {SECTION_TYPE, "a section of a book"},
                                                             {COVER_TYPE, "the cover of a book"},
                                                             {PAGE_TYPE, "a page of a section or a cover"}};
    for (const auto &[type, name] : records) {
        write(QStringLiteral("\n### Data type %1: %2\n\n| Tag | Field | Value |\n|---|---|---|\n")
                  .arg(QString::number(type, 16), QLatin1String(name)));
        for (const auto *row = ZQGetSystemStorageClassConv(type); row->elementType != 0; ++row) {
            const bool nested = row->elementType == CONV_LIST || row->elementType == CONV_ITEM;
            write(QStringLiteral("| %1 | %2 | %3 |\n")
                      .arg(nested ? QString() : QStringLiteral("`%1`").arg(row->dataTag, 0, 16),
                           QLatin1String(row->fieldName), QLatin1String(VALUES[row->elementType - 1])));
        }
    }
}

const char *const PACKET_PAGE = R"(# Wire vocabulary

What the packets look like. Every piece of XML on this page was printed by a program that is built and run with the
tests, `docs/vocabulary.cpp`. It sorts attributes by name; on the wire their order means nothing.

## The packet document

)";

const char *const ACTION_PAGE = R"(
| Element | Attributes | Children |
|---|---|---|
| `zqxml` | `xmlns`, the namespace | `header`, `body` |
| `header` | | `src`, `dst` |
| `src`, `dst` | `agent_id`, decimal; missing reads as 0 | |
| `body` | | any number of the elements below |
| `msg` | `msg`, the text | |
| `img` | `name`, `url` | |
| `ui` | `name` | `action` |
| `action` | `name`, `type`, `originator` | properties, `packetable` |
| `packetable` | `datatype`, base 16; `name`; `is_current`, `1` or `0` | one `item`, the record |

## Actions

A property is a child element whose text is the value. The last column is what the setter of the class XMLAction writes,
the one before it what the getter returns when the property is missing. A value that is there and malformed reads as
false, 0 or an empty list. Lists are separated by one blank. Mind the base: 31 is `31` in one row and `1f` in another.

| Key | Written as | Missing reads as | Example |
|---|---|---|---|
)";

const char *const REQUEST_PAGE = R"(
## Requests

An action to agent -1 whose `type` is one of these codes is a request. Keys narrow it; without them all records of the
kind are meant. Only the first action of a packet is looked at, and any other code is not answered.

| Code | Asks for | Keys of | When there are none |
|---|---|---|---|
| 1000 | outputs | not read | no answer |
| 1001 | publications, one job each: the lowest page, under the publication's name | outputs | no answer without jobs; an empty packet when no job belongs to a publication |
| 1002 | books | publications | no answer |
| 1003 | jobs; pages of publications only if `exclude_publications` is there and `0` | outputs | an empty packet |
)";

const char *const RECORD_PAGE = R"(
## Records

A record becomes XML through its packet text, lines of a tag, a blank and a value:

| Packet text | Element |
|---|---|
| `SI 1f` to its `TI 0` | `item`, with the data type of the record as `datatype`, base 16 |
| `SL 2` to its `TL 0` | `list`, with the number of its items as `size` |
| a field | an element named by the tag, base 16; its shape depends on the row of the conversion table |

The table of the data type gives each tag an element type and a size. This is what becomes of one line for each of them,
and what is written when the element becomes packet text again. `\r` is a carriage return. Numbers and texts pass as
they are, whatever their base.

| Element types | Shape | Line | Element | Written back |
|---|---|---|---|---|
)";

const char *const SAMPLE_PAGE = R"(
## The fields of the sample

An application's own records have their own fields; these are those of the stand-in. The tag is in base 16, as it is the
element's name, and so is the data type. What a field means and its unit stand in `standin/zqrecords.h`, by the same names. XMLRecord, in the kit,
reads fields by name and in the right base.
)";

const char *const END_PAGE = R"(
What a record is like after the whole road is on the page [What surprises](surprises.md).
)";

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    QString error;
    ZQCONNECTION *const connection = ZQOpenSampleStore(&error);
    if (!connection) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(error));
        return 1;
    }
    ZQCommServer server(connection);
    std::fputs(PACKET_PAGE, stdout);
    writePacket();
    std::fputs(ACTION_PAGE, stdout);
    writeProperties();
    std::fputs(REQUEST_PAGE, stdout);
    writeRequests(server);
    std::fputs(RECORD_PAGE, stdout);
    writeFields();
    std::fputs(SAMPLE_PAGE, stdout);
    writeTags();
    std::fputs(END_PAGE, stdout);
    return 0;
}
