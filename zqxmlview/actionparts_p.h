// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_ACTIONPARTS_P_H
#define ZQXMLVIEW_ACTIONPARTS_P_H

#include <QDomElement>
#include <QString>

#include <vector>

/**
 * The content of an element apart from its tree: a copy that is cheap to make and to compare, from which the element
 * can be made again.
 */
class ActionParts
{
public:
    ActionParts() = default; ///< Makes the content of no element.
    explicit ActionParts(const QDomElement &element);

    bool isEmpty() const; ///< Returns whether this is the content of no element.

    /** Returns the element's attribute \a name; null when there is none. */
    QString attribute(const QString &name) const;

    /** Returns whether this is the content of \a element, in whatever order its attributes come. */
    bool isOf(const QDomElement &element) const;

    /** Makes the element again, as the last child of \a parent, and returns it; null when there was none. */
    QDomElement appendTo(const QDomElement &parent) const;

private:
    class Reader;
    class Comparer;
    enum class Kind : char { Element, Attribute, Text, CData, Comment, End };
    struct Part {
        Kind kind;
        QString name;
        QString value;
    };

    static Kind kindOf(const QDomNode &node);

    std::vector<Part> parts;
};

#endif
