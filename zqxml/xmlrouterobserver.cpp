// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrouterobserver.h"

XMLRouterObserver::XMLRouterObserver() = default;

XMLRouterObserver::~XMLRouterObserver() = default;

void XMLRouterObserver::agentAdded(int, int) { }

void XMLRouterObserver::agentRemoved(int) { }

void XMLRouterObserver::packetQueued(XMLPacket &) { }

void XMLRouterObserver::packetDropped(XMLPacket &, DropReason) { }

void XMLRouterObserver::packetAboutToBeDelivered(XMLPacket &, int) { }

void XMLRouterObserver::packetDelivered(int) { }

void XMLRouterObserver::packetUndeliverable(XMLPacket &) { }
