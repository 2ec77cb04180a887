// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_ACTIONPARTS_P_H
#define ZQXMLVIEW_ACTIONPARTS_P_H

#include <QDomElement>
#include <QString>

#include <vector>

/**
 * The content of an element apart from its tree: a copy that is cheap to make and to compare, from which the element
 * can be made again. Equal for elements that differ only in the order of attributes.
 */
class ActionParts
{
public:
    ActionParts() = default; ///< Makes the content of no element.
    explicit ActionParts(const QDomElement &element);

    bool operator==(const ActionParts &other) const;

    /** Makes the element again, as the last child of \a parent, and returns it; null when there was none. */
    QDomElement appendTo(const QDomElement &parent) const;

private:
    enum class Kind : char { Element, Attribute, Text, CData, Comment, End };
    struct Part {
        Kind kind;
        QString name;
        QString value;

        bool operator==(const Part &other) const;
    };

    void addElement(const QDomNode &element);
    void addLeaf(const QDomNode &node);

    std::vector<Part> parts;
};

#endif
