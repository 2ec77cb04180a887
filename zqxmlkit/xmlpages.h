// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLPAGES_H
#define ZQXMLKIT_XMLPAGES_H

#include <zqxmlkit/xmlmailbox.h>

/**
 * The records that an XMLRecordServer gives, page by page. \sa XMLRequester::pages()
 * \code
 * XMLPages *const pages = requester.pages(server, action);
 * connect(pages, &XMLPages::pageReceived, this, [this, pages] {
 *     const auto page = pages->takePage();
 *     for (const XMLRecord &record : XMLRecords(*page))
 *         ...
 * });
 * connect(pages, &XMLPages::finished, pages, &QObject::deleteLater);
 * \endcode
 * The next page is asked for when one is taken, so that never more than one waits here. A page that is not taken stays,
 * and its server waits for a while. state() is Answered once the last page has come, and Failed when the server gave up
 * before; what came until then is good.
 */
class ZQXMLKIT_EXPORT XMLPages : public XMLMailbox
{
    Q_OBJECT

public:
    ~XMLPages() override;

    /**
     * Hands over the page that has come, and asks for the next one; null when none has come. Its records are behind an
     * action that says where the page stands, see XMLRecordServer.
     */
    std::unique_ptr<XMLPacket> takePage();

    int position() const; ///< Returns how many records stand before the page that came last.
    int sourcesDone() const; ///< Returns how many outputs, or keys, the server had asked when it sent that page.
    int sources() const; ///< Returns of how many in all; 0 before the first page.

Q_SIGNALS:
    /** A page has come. Emitted from the event loop, before finished(). */
    void pageReceived();

private:
    friend class XMLRequester;

    XMLPages(XMLRequester *requester, XMLRouter *xmlRouter, int destination, int timeout);
    void take(std::unique_ptr<XMLPacket> answer) override;

    std::unique_ptr<XMLPacket> page;
    unsigned int cursor;
    int recordsBefore;
    int askedSources;
    int allSources;
};

#endif
