// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_BUS_H
#define TOOLS_BUS_H

#include <zqxmlgate/xmlnatstransport.h>

class QCommandLineParser;
class XMLRouter;

// What zqxml-serve exports beside the comm server agent.
constexpr int pageServerType = 1; ///< the type of its XMLRecordServer
constexpr int keyServerType = 2; ///< the type of the agent that knows keys

/**
 * Asks the agent that knows keys, with keys as for the comm server. It answers with an action of the same type, whose
 * "index" is the place of the first key that nothing has, and -1 when there is none.
 */
constexpr int unknownKeyRequest = 1020;

/** Tells \a parser what both programs on a bus understand. */
void addBusArguments(QCommandLineParser &parser);

/** Fills the options from the parsed command line; returns what is wrong with them, or nothing. */
QString readBusArguments(const QCommandLineParser &parser, XMLNatsTransport::Options &options);

/** As readBusArguments(), for a program that asks a bus or a database: nothing may be there without --bus. */
QString readOptionalBus(const QCommandLineParser &parser, XMLNatsTransport::Options &options);

/** Returns an agent of the type \a type, of all that there are one by chance; 0 for none. */
int anyAgentOfType(XMLRouter &router, int type);

#endif
