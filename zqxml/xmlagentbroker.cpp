// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlagentbroker.h"

XMLAgentBroker::XMLAgentBroker() : router(nullptr) { }

XMLAgentBroker::~XMLAgentBroker() = default;

void XMLAgentBroker::setRouter(XMLRouter *newRouter)
{
    router = newRouter;
}
