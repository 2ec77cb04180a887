// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_FLATTREE_P_H
#define ZQXMLKIT_FLATTREE_P_H

#include "attributelist_p.h"

#include <vector>

/** The nodes of a tree in document order, with a hash of each subtree, so that trees can be compared piece by piece. */
class FlatTree
{
public:
    explicit FlatTree(const QDomNode &root);

    /** Returns true when the subtrees of two nodes have the same content. */
    static bool isSame(const FlatTree &a, int i, const FlatTree &b, int j);

    quint64 hashOf(int i) const
    {
        return at(i).hash;
    }

    /** Returns true for an element or a document. */
    bool hasChildren(int i) const;

    std::vector<int> childrenOf(int i) const;
    AttributeList attributesOf(int i) const;

    /** Returns what two nodes must have in common to be two states of one: their type, and the name of an element. */
    QString kindOf(int i) const;

    /** Returns the path of a node, or of the attribute of a node. */
    QString pathOf(int i, const QString &attribute = QString());

    /** Returns the value of a text, an element in the wire form. */
    QString contentOf(int i) const;

private:
    struct Item {
        QDomNode node;
        int parent;
        int end; // behind the last of the subtree
        quint64 hash;
        int number; // among its siblings of one kind, 0 when it is the only one, -1 when not known yet
    };

    const Item &at(int i) const
    {
        return items[static_cast<std::size_t>(i)];
    }

    Item &at(int i)
    {
        return items[static_cast<std::size_t>(i)];
    }

    void numberChildrenOf(int i);
    QString stepOf(int i);

    std::vector<Item> items;
};

#endif
