// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLIMAGE_H
#define ZQXML_XMLIMAGE_H

#include <zqxml/xmlobject.h>

/**
 * A named image and where to fetch it.
 * \code
 * <img name="logo" url="http://example.org/logo.png"/>
 * \endcode
 */
class ZQXML_EXPORT XMLImage : public XMLObject
{
public:
    /** Makes an "img" element without attributes. */
    XMLImage();

    /** Makes an "img" element named \a name. */
    explicit XMLImage(const QString &name);

    void setName(const QString &name); ///< Writes the name; an empty one writes nothing.
    QString getName() const; ///< Returns the name; null when there is none.

    void setURL(const QString &url); ///< Writes the location, any text; an empty one writes nothing.
    QString getURL() const; ///< Returns the location as it was written; null when there is none.
};

#endif
