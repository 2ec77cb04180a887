// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "pieces.h"
#include "samples.h"

#include <zqxmlkit/xmlwire.h>

#include <expat.h>
#include <libxml/parser.h>
#include <pugixml.hpp>

#include <map>
#include <sstream>

namespace {

// Field names are numbers, which no parser takes as they are.
void nameWithLetters(QDomElement element)
{
    element.setTagName(QLatin1Char('f') + element.tagName());
    for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        nameWithLetters(child);
}

/** A packet, and what the forms of reading it start from. */
struct Letter {
    explicit Letter(int bytes)
        : packet(bytes, Difference::Nowhere, 0), wire(XMLWire::toWire(packet)), root(packet.document.documentElement()),
          pieces(root)
    {
        QDomDocument named;
        named.appendChild(named.importNode(root, true));
        nameWithLetters(named.documentElement());
        plain = named.toByteArray(-1);
        check();
    }

    QDomDocument readPlainly() const
    {
        QDomDocument document;
        document.setContent(plain);
        return document;
    }

    QDomDocument buildFloor() const
    {
        QDomDocument document;
        QDomElement top = document.createElement(root.tagName());
        pieces.build(top);
        document.appendChild(top);
        return document;
    }

    void check() const
    {
        const QString right = dump(root);
        QString error;
        const std::unique_ptr<XMLPacket> read = XMLWire::toPacket(wire, &error);
        require(read != nullptr, "the wire form cannot be read: " + error.toStdString());
        require(dump(read->getBody().ownerDocument().documentElement()) == right, "another packet is read");
        require(dump(buildFloor().documentElement()) == right, "the floor of reading a packet is another tree");
        QDomElement named = readPlainly().documentElement();
        require(named.elementsByTagName(QStringLiteral("fheader")).length() == 1, "the plain document is not read");
        require(plain.size() > wire.size() / 2, "the plain document is another");
    }

    const SamplePacket packet;
    const QByteArray wire;
    const QDomElement root;
    const Pieces pieces;
    QByteArray plain;
};

const Letter &letterOf(int bytes)
{
    static std::map<int, std::unique_ptr<Letter>> letters;
    std::unique_ptr<Letter> &letter = letters[bytes];
    if (!letter)
        letter = std::make_unique<Letter>(bytes);
    return *letter;
}

std::unique_ptr<pugi::xml_document> readWithPugi(const QByteArray &wire)
{
    auto document = std::make_unique<pugi::xml_document>();
    require(document->load_buffer(wire.constData(), static_cast<std::size_t>(wire.size())), "pugixml does not read");
    return document;
}

using XmlDoc = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

XmlDoc readWithLibXml2(const QByteArray &wire)
{
    XmlDoc document(xmlReadMemory(wire.constData(), static_cast<int>(wire.size()), "", nullptr, XML_PARSE_HUGE),
                    xmlFreeDoc);
    require(document != nullptr, "libxml2 does not read");
    return document;
}

/** Counts elements; expat makes no tree. */
int readWithExpat(const QByteArray &wire)
{
    int count = 0;
    const XML_Parser parser = XML_ParserCreate("UTF-8");
    XML_SetUserData(parser, &count);
    XML_SetElementHandler(
        parser, [](void *data, const XML_Char *, const XML_Char **) { ++*static_cast<int *>(data); },
        [](void *, const XML_Char *) {});
    XML_SetCharacterDataHandler(parser, [](void *, const XML_Char *, int) {});
    require(XML_Parse(parser, wire.constData(), static_cast<int>(wire.size()), 1) == XML_STATUS_OK,
            "expat does not read");
    XML_ParserFree(parser);
    return count;
}

std::string writeWithPugi(const pugi::xml_document &document)
{
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
}

std::string writeWithLibXml2(const XmlDoc &document)
{
    xmlChar *bytes = nullptr;
    int size = 0;
    xmlDocDumpMemory(document.get(), &bytes, &size);
    std::string text(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(size));
    xmlFree(bytes);
    return text;
}

template <typename Call>
void addForm(const std::string &form, int bytes, Call call)
{
    const auto prepare = [bytes, call](benchmark::State &) {
        const Letter &letter = letterOf(bytes);
        return [&letter, call] { return call(letter); };
    };
    add(form + '/' + std::to_string(bytes), prepare, bytes > 6144 ? Load::Large : Load::Small)
        ->Unit(benchmark::kMicrosecond);
}

void addSize(int bytes)
{
    addForm("toWire/ours", bytes, [](const Letter &letter) { return XMLWire::toWire(letter.packet); });
    addForm("toWire/plain", bytes, [](const Letter &letter) { return letter.packet.document.toByteArray(-1); });
    addForm("fromWire/ours", bytes, [](const Letter &letter) { return XMLWire::toPacket(letter.wire); });
    addForm("fromWire/plain", bytes, [](const Letter &letter) { return letter.readPlainly(); });
    addForm("fromWire/floor", bytes, [](const Letter &letter) { return letter.buildFloor(); });
    addForm("fromWire/pugixml", bytes, [](const Letter &letter) { return readWithPugi(letter.wire); });
    addForm("fromWire/libxml2", bytes, [](const Letter &letter) { return readWithLibXml2(letter.wire); });
    addForm("fromWire/expat", bytes, [](const Letter &letter) { return readWithExpat(letter.wire); });
    add("toWire/pugixml/" + std::to_string(bytes), [bytes](benchmark::State &) {
        const auto document = std::shared_ptr<pugi::xml_document>(readWithPugi(letterOf(bytes).wire));
        return [document] { return writeWithPugi(*document); };
    })->Unit(benchmark::kMicrosecond);
    add("toWire/libxml2/" + std::to_string(bytes), [bytes](benchmark::State &) {
        const auto document = std::make_shared<XmlDoc>(readWithLibXml2(letterOf(bytes).wire));
        return [document] { return writeWithLibXml2(*document); };
    })->Unit(benchmark::kMicrosecond);
}

QByteArray nodes(int count)
{
    QByteArray text = "<zqxml>";
    for (int i = 0; i < count; ++i)
        text += "<a>" + QByteArray::number(i) + "</a>";
    return text + "</zqxml>";
}

QByteArray levels(int count)
{
    return "<zqxml>" + QByteArray("<a>").repeated(count) + QByteArray("</a>").repeated(count) + "</zqxml>";
}

QByteArray attributes(int count)
{
    QByteArray text = "<zqxml";
    for (int i = 0; i < count; ++i)
        text += " a" + QByteArray::number(i) + "=\"\"";
    return text + "/>";
}

/** Adds what costs should grow with as its number does: reading and writing of what \a make gives. */
template <typename Make>
void addShape(const std::string &shape, int count, Make make)
{
    const std::string size = '/' + std::to_string(count);
    add("fromWire/" + shape + size, [count, make](benchmark::State &) {
        const QByteArray wire = make(count);
        require(!XMLWire::toDocument(wire).isNull(), "a shape is not read");
        return [wire] { return XMLWire::toDocument(wire); };
    })->Unit(benchmark::kMicrosecond);
    add("toWire/" + shape + size, [count, make](benchmark::State &) {
        const QDomDocument document = XMLWire::toDocument(make(count));
        return [document] { return XMLWire::toWire(document.documentElement()); };
    })->Unit(benchmark::kMicrosecond);
}

} // namespace

void addWire()
{
    for (const int bytes : {300, 6 * 1024, isCounting() ? 64 * 1024 : 1024 * 1024})
        addSize(bytes);
    for (const int count : {400, 1600}) {
        addShape("nodes", count, nodes);
        addShape("levels", count, levels);
        addShape("attributes", count, attributes);
    }
}
