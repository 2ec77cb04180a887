// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlreply.h"

#include <zqxml/xmlpacket.h>

XMLReply::XMLReply(XMLRequester *requester, XMLRouter *xmlRouter, int destination, int timeout)
    : XMLMailbox(requester, xmlRouter, destination, timeout)
{
}

XMLReply::~XMLReply() = default;

std::unique_ptr<XMLPacket> XMLReply::takePacket()
{
    return std::move(packet);
}

XMLRecords XMLReply::records() const
{
    return packet ? XMLRecords(*packet) : XMLRecords();
}

void XMLReply::take(std::unique_ptr<XMLPacket> answer)
{
    packet = std::move(answer);
    finish(Answered);
}
