// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_WIREWRITER_P_H
#define ZQXMLKIT_WIREWRITER_P_H

#include "attributelist_p.h"

#include <QByteArray>
#include <QDomDocument>

#include <cstring>
#include <vector>

/** Writes one document or element in the wire form. */
class WireWriter
{
public:
    /** Returns false when \a document holds what the wire form has no words for, or is not one element and comments. */
    bool write(const QDomDocument &document);

    /** Returns false when \a element holds what the wire form has no words for. */
    bool write(const QDomElement &element);

    /** Returns true for a text that the root can have for its namespace. */
    static bool isNamespace(const QString &uri);

    /** Returns \a name as it is written. */
    static QByteArray nameToWire(const QString &name);

    /** Returns \a value as it is written in an attribute. */
    static QByteArray valueToWire(const QString &value);

    /** Returns what was written. */
    QByteArray take();

private:
    struct OpenElement {
        qsizetype name; ///< where it begins in the output
        qsizetype length;
    };

    bool writeTree(const QDomNode &root);
    bool enter(const QDomNode &node);
    bool writeStartTag(const QDomNode &element);
    bool writeNamespace(const QString &uri);
    bool writeAttribute(const AttributeList::Attribute &attribute);
    bool writeText(const QDomNode &text);
    bool writeSection(const char *before, const QDomNode &section, unsigned context, const char *after);
    void writeEndTag();
    bool writeName(const QString &name);
    bool writeValue(const QString &value, unsigned context, const QDomNode &node = QDomNode());

    // Returns the place for \a size more bytes.
    char *reserve(qsizetype size)
    {
        if (end - out < size)
            grow(size);
        return out;
    }

    void append(const char *text, qsizetype size)
    {
        std::memcpy(reserve(size), text, static_cast<std::size_t>(size));
        out += size;
    }

    qsizetype used() const
    {
        return out - output.constData();
    }

    void grow(qsizetype size);

    QByteArray output;
    char *out = nullptr; // behind what is written
    const char *end = nullptr; // of the room for it
    std::vector<OpenElement> open;
    AttributeList attributes;
};

#endif
