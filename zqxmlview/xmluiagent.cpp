// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmluiagent.h"

#include <zqxml/xmlaction.h>

XMLUIAgent::XMLUIAgent(XMLRouter *xmlRouter, int type, QObject *parent)
    : XMLEndpoint(xmlRouter, type, parent), uiBinder(new XMLUIBinder(this)), ownerID(0)
{
    connect(this, &XMLEndpoint::uiReceived, uiBinder, [this](int sender, XMLUI &ui) {
        if (ownerID == 0)
            setOwner(sender);
        if (sender == ownerID)
            uiBinder->setUI(ui);
    });
    connect(this, &XMLEndpoint::imageReceived, uiBinder, [this](int sender, XMLImage &image) {
        if (sender == ownerID)
            uiBinder->setImage(image);
    });
    connect(this, &XMLEndpoint::messageReceived, uiBinder, [this](int sender, XMLMessage &message) {
        if (sender == ownerID)
            uiBinder->showMessage(message);
    });
    connect(this, &XMLEndpoint::agentGone, uiBinder, [this](int agent) {
        if (agent == ownerID)
            setOwner(0);
    });
    connect(uiBinder, &XMLUIBinder::triggered, this, [this](XMLAction &action) {
        if (ownerID != 0)
            send(ownerID, action);
    });
}

XMLUIBinder *XMLUIAgent::binder() const
{
    return uiBinder;
}

int XMLUIAgent::owner() const
{
    return ownerID;
}

void XMLUIAgent::setOwner(int agent)
{
    if (agent == ownerID)
        return;
    ownerID = agent;
    uiBinder->clear();
    Q_EMIT ownerChanged(agent);
}
