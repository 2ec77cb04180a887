// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_BUSASKER_H
#define TOOLS_BUSASKER_H

#include "pageasker.h"

#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlkit/xmlrequester.h>

#include <QDeadlineTimer>

/** Asks those on a bus who answer; another one when one goes before it has answered. */
class BusAsker : public Asker
{
public:
    /** \a query says where the bus is, what is to be watched, and how long somebody has to answer. */
    explicit BusAsker(const Query &query);
    ~BusAsker() override;

    int findUnknownKey(const Query &query) override;
    XMLMailbox::State ask(const Query &query, const TakePage &take, QString *traceError) override;
    QString failure() const override;

private:
    int findServer(int type, const QDeadlineTimer &deadline);
    void giveUp();

    XMLRouter router;
    Watch watch;
    XMLGateway gateway;
    XMLRequester requester;
    const int seconds;
    QString reason;
    QString lastProblem;
};

#endif
