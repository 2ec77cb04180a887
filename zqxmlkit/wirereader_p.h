// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_WIREREADER_P_H
#define ZQXMLKIT_WIREREADER_P_H

#include "treebuilder_p.h"
#include "xmlwire.h"

#include <array>
#include <expat.h>
#include <memory>
#include <string>

/** Reads one document in the wire form, or any other document without what that form has no words for. */
class WireReader
{
public:
    WireReader(TreeBuilder &treeBuilder, const XMLWire::Limits &readingLimits);

    ~WireReader();
    Q_DISABLE_COPY(WireReader)

    /** Returns false, with a line for people in \a error unless that is null, when \a wire cannot be read. */
    bool read(const QByteArray &wire, QString *error);

private:
    struct CachedName {
        std::string bytes;
        QString name;
    };

    static void onStart(void *self, const XML_Char *name, const XML_Char **attributes);
    static void onEnd(void *self, const XML_Char *name);
    static void onCharacters(void *self, const XML_Char *text, int size);
    static void onComment(void *self, const XML_Char *text);
    static void onCDataStart(void *self);
    static void onCDataEnd(void *self);
    static void onInstruction(void *self, const XML_Char *target, const XML_Char *data);
    static void onDeclaration(void *self, const XML_Char *version, const XML_Char *encoding, int standalone);
    static void onDocumentType(void *self, const XML_Char *, const XML_Char *, const XML_Char *, int);

    void start(const char *name, const char **attributes);
    void setAttributes(const char **attributes);
    const char *checkStart(const char *name, const char **attributes);
    bool count(int more);
    void flushText();
    const QString &nameOf(const char *bytes);
    void refuse(const char *reason);
    void notePlace();

    TreeBuilder &builder;
    const XMLWire::Limits limits;
    std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser;
    std::array<CachedName, 64> names;
    std::string text; // of the text node or section that is being read
    bool isTextBegun = false; // by a mark
    bool isShort = false;
    qint64 nodes = 0;
    const char *refusal = nullptr;
    qint64 refusedAt = 0; // bytes before it
};

#endif
