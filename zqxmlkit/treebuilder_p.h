// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_TREEBUILDER_P_H
#define ZQXMLKIT_TREEBUILDER_P_H

#include <QDomDocument>

#include <vector>

/**
 * Builds a document from its parts in document order. Names and values of any characters are taken as they are,
 * whatever the policy of the process. An element stands alone until it is closed: the toolkit walks up to the top of a
 * tree for each attribute and child that is added.
 */
class TreeBuilder
{
public:
    /** Builds a document of its own. */
    TreeBuilder() = default;

    /**
     * Builds into the document of a packet, which is emptied. Its root, header, source, destination and body, as far as
     * the new content has them too, are filled again: the packet keeps handles to them.
     */
    explicit TreeBuilder(const QDomDocument &packetDocument);

    Q_DISABLE_COPY(TreeBuilder)

    void openRoot(const QString &name, const QString &namespaceURI);
    void open(const QString &name);
    void setAttribute(const QString &name, const QString &value);
    void appendText(const QString &text);
    void appendCData(const QString &text);
    void appendComment(const QString &text);
    void close();

    /** Ends the building in the middle: whatever was begun hangs in the document then, and goes with it. */
    void abandon();

    /** Returns how many elements are open. */
    qsizetype depth() const
    {
        return static_cast<qsizetype>(stack.size());
    }

    /** Returns how many attributes the element has that was opened last. */
    int attributeCount() const;

    QDomDocument getDocument() const
    {
        return document;
    }

private:
    struct Part {
        std::size_t depth;
        QDomElement parent;
        QDomElement element;
    };

    void addPart(std::size_t depth, const QDomElement &parent, const QString &name);
    QDomElement takePart(const QString &name);
    void append(QDomNode node, const QString &value);

    QDomDocument document; // before the elements, so that they go first
    std::vector<QDomElement> stack;
    QDomElement oldRoot;
    std::vector<Part> parts;
};

#endif
