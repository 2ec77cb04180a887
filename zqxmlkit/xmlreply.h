// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLREPLY_H
#define ZQXMLKIT_XMLREPLY_H

#include <zqxmlkit/xmlmailbox.h>
#include <zqxmlkit/xmlrecords.h>

/**
 * A request to an agent, and its answer or the reason why there is none. \sa XMLRequester::request()
 * \code
 * XMLReply *const reply = requester.requestJobs();
 * connect(reply, &XMLReply::finished, this, [reply] {
 *     for (const XMLRecord &job : reply->records())
 *         ...
 *     reply->deleteLater();
 * });
 * \endcode
 * With Qt 6, QtFuture::connect(reply, &XMLReply::finished) gives a future of it.
 */
class ZQXMLKIT_EXPORT XMLReply : public XMLMailbox
{
    Q_OBJECT

public:
    ~XMLReply() override;

    /** Hands the answer over; null when there is none, or when it was taken before. */
    std::unique_ptr<XMLPacket> takePacket();

    /** Returns the records of the answer; none without an answer. They live as long as the packet. */
    XMLRecords records() const;

private:
    friend class XMLRequester;

    XMLReply(XMLRequester *requester, XMLRouter *xmlRouter, int destination, int timeout);
    void take(std::unique_ptr<XMLPacket> answer) override;

    std::unique_ptr<XMLPacket> packet;
};

#endif
