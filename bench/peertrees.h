// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef BENCH_PEERTREES_H
#define BENCH_PEERTREES_H

#include <recordlib/zqlib.h>
#include <zqxml/xmlpacketable.h>

#include <libxml/tree.h>
#include <pugixml.hpp>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

/**
 * \file
 * The tree of a record in other libraries' DOMs, read from the same text in the way that suits them: names and values
 * are cut out of the text in place.
 */

/** Writes an element as dump() of the tests does. */
inline std::string dumpElement(const std::string &name, const std::map<std::string, std::string> &attributes,
                               const std::vector<std::string> &children)
{
    std::string text = name;
    const char *before = "[";
    for (const auto &[attribute, value] : attributes) {
        text += before + attribute + '=' + value;
        before = " ";
    }
    if (!attributes.empty())
        text += ']';
    before = "(";
    for (const std::string &child : children) {
        text += before + child;
        before = " ";
    }
    if (!children.empty())
        text += ')';
    return text;
}

/** A tree of pugixml. */
class PugiTree
{
public:
    using Node = pugi::xml_node;

    PugiTree() : document(std::make_unique<pugi::xml_document>()) { }

    Node root()
    {
        return document->append_child("packetable");
    }

    static Node addElement(Node parent, const char *name)
    {
        return parent.append_child(name);
    }

    static void addAttribute(Node element, const char *name, const char *value)
    {
        element.append_attribute(name).set_value(value);
    }

    static void addText(Node element, const char *text)
    {
        element.append_child(pugi::node_pcdata).set_value(text);
    }

    std::string dump() const
    {
        return dump(document->first_child());
    }

private:
    static std::string dump(Node n)
    {
        if (n.type() == pugi::node_pcdata)
            return '"' + std::string(n.value()) + '"';
        std::map<std::string, std::string> attributes;
        for (const pugi::xml_attribute attribute : n.attributes())
            attributes[attribute.name()] = attribute.value();
        std::vector<std::string> children;
        for (const Node child : n.children())
            children.push_back(dump(child));
        return dumpElement(n.name(), attributes, children);
    }

    std::unique_ptr<pugi::xml_document> document;
};

/** A tree of libxml2. */
class LibXml2Tree
{
public:
    using Node = xmlNodePtr;

    LibXml2Tree() : document(xmlNewDoc(nullptr), xmlFreeDoc) { }

    Node root()
    {
        const Node element = xmlNewNode(nullptr, text("packetable"));
        xmlDocSetRootElement(document.get(), element);
        return element;
    }

    static Node addElement(Node parent, const char *name)
    {
        return xmlAddChild(parent, xmlNewDocNode(parent->doc, nullptr, text(name), nullptr));
    }

    static void addAttribute(Node element, const char *name, const char *value)
    {
        xmlNewProp(element, text(name), text(value));
    }

    static void addText(Node element, const char *value)
    {
        xmlAddChild(element, xmlNewDocText(element->doc, text(value)));
    }

    std::string dump() const
    {
        return dump(xmlDocGetRootElement(document.get()));
    }

private:
    static const xmlChar *text(const char *characters)
    {
        return reinterpret_cast<const xmlChar *>(characters);
    }

    static std::string string(const xmlChar *characters)
    {
        return characters ? reinterpret_cast<const char *>(characters) : "";
    }

    static std::string dump(Node n)
    {
        if (n->type == XML_TEXT_NODE)
            return '"' + string(n->content) + '"';
        std::map<std::string, std::string> attributes;
        for (const xmlAttr *attribute = n->properties; attribute; attribute = attribute->next)
            attributes[string(attribute->name)] = attribute->children ? string(attribute->children->content) : "";
        std::vector<std::string> children;
        for (Node child = n->children; child; child = child->next)
            children.push_back(dump(child));
        return dumpElement(string(n->name), attributes, children);
    }

    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document;
};

/** Reads packet text of well-formed samples into a tree. */
template <typename Tree>
class PeerReader
{
public:
    using Node = typename Tree::Node;

    /** Reads \a characters, which are cut up, with a final zero byte, by the rows of \a table. */
    PeerReader(const CONVERTSTRUCTELEMENTINFO *table, char *characters) : at(characters)
    {
        for (; table->elementType != 0; ++table)
            rows[table->dataTag % std::size(rows)] = table;
    }

    void read(Node parent)
    {
        while (*at) {
            const char *const tag = cut(' ');
            char *const value = cut('\n');
            if (std::strcmp(tag, "SI") == 0 || std::strcmp(tag, "SL") == 0) {
                const bool isItem = tag[1] == 'I';
                const Node element = Tree::addElement(parent, isItem ? "item" : "list");
                Tree::addAttribute(element, isItem ? "datatype" : "size", value);
                read(element);
            } else if (tag[0] == 'T') {
                return;
            } else {
                readField(Tree::addElement(parent, tag), *rows[std::strtoul(tag, nullptr, 16) % std::size(rows)],
                          value);
            }
        }
    }

private:
    char *cut(char separator)
    {
        char *const from = at;
        at = std::strchr(at, separator);
        *at++ = '\0';
        return from;
    }

    static char *cutFrom(char *&text, char separator)
    {
        char *const from = text;
        char *const end = std::strchr(text, separator);
        text = end ? end + 1 : nullptr;
        if (end)
            *end = '\0';
        return from;
    }

    static void readField(Node field, const CONVERTSTRUCTELEMENTINFO &row, char *value)
    {
        if (row.elementType == 14) {
            const char *const key = cutFrom(value, ' ');
            Tree::addAttribute(field, "key", key);
            Tree::addAttribute(field, "hkey", value);
        } else if (row.elementType == 16 || row.elementType == 22) {
            const bool isNumbers = row.elementType == 16;
            char *values = value;
            char count[16] = {};
            std::memcpy(count, value, std::strcspn(value, " "));
            Tree::addAttribute(field, "size", count);
            if (isNumbers)
                cutFrom(values, ' ');
            while (values) // the first text keeps the count in front
                Tree::addText(Tree::addElement(field, "value"), cutFrom(values, isNumbers ? ' ' : '\r'));
        } else if (row.elementType == 23) {
            Tree::addAttribute(field, "value", ("?? CONV_BINARYDATA (" + std::string(row.fieldName) + ") ??").c_str());
        } else {
            Tree::addAttribute(field, "value", value);
        }
    }

    char *at;
    const CONVERTSTRUCTELEMENTINFO *rows[128] = {};
};

#endif
