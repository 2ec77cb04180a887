// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_ATTRIBUTELIST_P_H
#define ZQXMLKIT_ATTRIBUTELIST_P_H

#include <QDomNode>

#include <vector>

/** The attributes of an element in the order of their names, that is of the UTF-16 units of these. */
class AttributeList
{
public:
    struct Attribute {
        QString name;
        QString value;
    };

    /**
     * Takes the attributes of \a element, in time linear in their number but for the sorting. Returns false, with a
     * list of no use, when one of them has a namespace.
     */
    bool read(const QDomNode &element);

    std::vector<Attribute>::const_iterator begin() const
    {
        return list.cbegin();
    }

    std::vector<Attribute>::const_iterator end() const
    {
        return list.cend();
    }

private:
    bool append(const QDomNode &attribute);
    bool readKnown(const QDomNamedNodeMap &map);
    bool readPrinted(const QDomNode &element, const QDomNamedNodeMap &map);

    std::vector<Attribute> list;
};

#endif
