// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlimage.h"

XMLImage::XMLImage() : XMLObject(XML_IMAGE) { }

XMLImage::XMLImage(const QString &name) : XMLImage()
{
    setName(name);
}

void XMLImage::setName(const QString &name)
{
    setAttribute(node, QStringLiteral("name"), name);
}

QString XMLImage::getName() const
{
    return getAttribute(node, QStringLiteral("name"));
}

void XMLImage::setURL(const QString &url)
{
    setAttribute(node, QStringLiteral("url"), url);
}

QString XMLImage::getURL() const
{
    return getAttribute(node, QStringLiteral("url"));
}
