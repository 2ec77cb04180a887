// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_PRINTEDREADER_P_H
#define ZQXMLKIT_PRINTEDREADER_P_H

#include "treebuilder_p.h"

#include <vector>

/**
 * Reads what the toolkit prints, which is not always XML: names and values hold any characters, but for "<", "&" and
 * quotes in values. Printing adds white space beside markup only, never beside text.
 */
class PrintedReader
{
public:
    PrintedReader(TreeBuilder &treeBuilder, const QString &printed);

    /** Returns false, with a line for people in \a error unless that is null, when the text is not one element. */
    bool read(QString *error);

private:
    enum class Token { None, Start, End, Empty, Comment, CData };

    bool readDocument();
    bool readMarkup();
    bool readText();
    bool readSection(const char *before, const char *after, Token kind);
    bool readStartTag();
    bool readAttributes(const QString &element);
    bool readAttribute(QString &name, QString &value);
    bool readEndTag();
    bool isLayout(const QString &blank) const;
    QString readName();
    bool decode(const QString &encoded, QString &decoded);
    bool decodeReference(const QString &reference, QString &decoded);
    void skipTitle();
    void skipBlanks();
    bool isAt(const char *prefix) const;
    bool fail(const char *reason);

    TreeBuilder &builder;
    QString text;
    qsizetype at = 0;
    Token last = Token::None;
    std::vector<QString> open; // names of the open elements
    bool hasRoot = false;
    const char *failure = nullptr;
};

#endif
