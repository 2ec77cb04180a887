// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "deskagent.h"

#include <zqxml/xmlaction.h>

DeskAgent::DeskAgent(XMLRouter *xmlRouter, QObject *parent) : XMLUIOwner(xmlRouter, DESK, tr("Desk"), parent)
{
    offer(tr("Refresh"), REFRESH, false);
    offer(tr("Show publications"), SHOW_PUBLICATIONS, true);
    offer(tr("Start output"), START, true);
    offer(tr("Stop output"), STOP, true);
    offer(tr("Hold job"), HOLD, true);
    setOutput(false, false);
    setJob(false, false);
    connect(this, &XMLUIOwner::triggered, this, [this](int, XMLAction &action) { act(action); });
}

void DeskAgent::offer(const QString &name, int type, bool isCheckable)
{
    XMLAction action(name, type, getAgentID());
    action.setCheckable(isCheckable);
    append(action);
}

void DeskAgent::set(int type, bool isEnabled, bool isChecked)
{
    change(type, getAgentID(), [isEnabled, isChecked](XMLAction &action) {
        action.setEnabled(isEnabled);
        action.setChecked(isChecked);
    });
}

void DeskAgent::setOutput(bool isChosen, bool isRunning)
{
    set(START, isChosen, isChosen && isRunning);
    set(STOP, isChosen, isChosen && !isRunning);
}

void DeskAgent::setJob(bool isChosen, bool isHeld)
{
    set(HOLD, isChosen, isChosen && isHeld);
}

void DeskAgent::act(const XMLAction &action)
{
    const bool isChecked = action.isChecked();
    switch (action.getType()) {
    case REFRESH:
        Q_EMIT refreshWanted();
        break;
    case SHOW_PUBLICATIONS:
        set(SHOW_PUBLICATIONS, true, isChecked);
        Q_EMIT publicationsWanted(isChecked);
        break;
    case START:
    case STOP:
        setOutput(true, action.getType() == START);
        Q_EMIT outputSwitched(action.getType() == START);
        break;
    case HOLD:
        setJob(true, isChecked);
        Q_EMIT jobHeld(isChecked);
        break;
    default:
        break;
    }
}
