// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_ZQXMLGATE_TEXTS_H
#define TESTS_ZQXMLGATE_TEXTS_H

#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>

#include <list>

/** Returns the text of the first message in a packet. */
inline QString textOf(XMLPacket &packet)
{
    std::list<QDomNode> nodes;
    packet.getNodesOfType(XMLObject::XML_MESSAGE, nodes);
    XMLMessage message;
    if (!nodes.empty())
        message.setNode(nodes.front().toElement());
    return message.getMessage();
}

#endif
