// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlmessage.h"

XMLMessage::XMLMessage() : XMLObject(XML_MESSAGE) { }

XMLMessage::XMLMessage(const QString &message) : XMLMessage()
{
    setMessage(message);
}

void XMLMessage::setMessage(const QString &message)
{
    setAttribute(node, QStringLiteral("msg"), message);
}

QString XMLMessage::getMessage() const
{
    return getAttribute(node, QStringLiteral("msg"));
}
