// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLMESSAGE_H
#define ZQXML_XMLMESSAGE_H

#include <zqxml/xmlobject.h>

/**
 * One message text.
 * \code
 * <msg msg="The output is offline."/>
 * \endcode
 */
class ZQXML_EXPORT XMLMessage : public XMLObject
{
public:
    /** Makes a "msg" element without a text. */
    XMLMessage();

    /** Makes a "msg" element with the text \a message. */
    explicit XMLMessage(const QString &message);

    void setMessage(const QString &message); ///< Writes the text; an empty one writes nothing.
    QString getMessage() const; ///< Returns the text; null when there is none.
};

#endif
