// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_PAGEASKER_H
#define TOOLS_PAGEASKER_H

#include "query.h"

#include <zqxmlkit/xmlpages.h>

#include <functional>

class XMLPacket;
class ZQCommServer;

/** How far a reply has come. */
struct PagePlace {
    int records; ///< before the page
    int sourcesDone; ///< outputs or keys that the server has asked
    int sources; ///< of how many
};

/** Takes a page, which holds nothing but records and is addressed as the comm server agent's reply; false for no more.
 */
using TakePage = std::function<bool(XMLPacket &page, const PagePlace &place)>;

/**
 * Asks \a server as \a query says, the way every agent of an application does, and gives the pages of the reply to
 * \a take as they come. Returns how that ended, and in \a traceError why the trace that the query wants is not whole.
 * Without a trace nothing is asked.
 */
XMLMailbox::State askPages(ZQCommServer &server, const Query &query, const TakePage &take, QString *traceError);

#endif
