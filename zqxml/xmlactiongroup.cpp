// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlactiongroup.h"

#include "xmlaction.h"

#include <QPointer>

XMLActionGroup::XMLActionGroup(QObject *parent, const char *name) :
    QObject(parent), updating(false)
{
    setObjectName(QString::fromLatin1(name));
}

XMLActionGroup::~XMLActionGroup() = default;

XMLAction *XMLActionGroup::addAction(XMLAction *action)
{
    if (!action)
        return nullptr;
    actionList.append(action);
    action->setActionGroup(this);
    connect(action, &XMLAction::toggled, this, &XMLActionGroup::updateActions);
    connect(action, SIGNAL(destroyed(QObject *)), this, SLOT(removeAction()));
    return action;
}

void XMLActionGroup::toggleAction(XMLAction *action)
{
    if (action && actionList.contains(action) && !action->isChecked())
        action->toggle();
}

QList<XMLAction *> XMLActionGroup::actions() const
{
    return actionList;
}

XMLAction *XMLActionGroup::checkedAction() const
{
    for (XMLAction *const action : actionList) {
        if (action->isSelected())
            return action;
    }
    return nullptr;
}

void XMLActionGroup::updateActions()
{
    const QObject *const changed = sender();
    if (!changed || updating)
        return;
    // A slot on a member's toggled() may destroy other members, or the group.
    const QPointer<XMLActionGroup> alive(this);
    const QList<QPointer<XMLAction>> members(actionList.cbegin(), actionList.cend());
    updating = true;
    for (const QPointer<XMLAction> &member : members) {
        if (member && member != changed)
            member->setChecked(false);
        if (!alive)
            return;
    }
    updating = false;
}

void XMLActionGroup::removeAction(XMLAction *action)
{
    QObject *const signalSender = action ? nullptr : sender();
    if (!action)
        action = qobject_cast<XMLAction *>(signalSender);
    if (action) {
        action->setActionGroup(nullptr);
        action->disconnect(this);
        actionList.removeOne(action);
    } else if (signalSender) {
        // A member that is being destroyed is an action no longer. None of its entries may stay.
        for (int i = static_cast<int>(actionList.size()) - 1; i >= 0; --i) {
            if (actionList.at(i) == signalSender)
                actionList.removeAt(i);
        }
    }
}

void XMLActionGroup::approveToggle(bool &approved)
{
    XMLAction *const action = qobject_cast<XMLAction *>(sender());
    approved = !(action && actionList.contains(action) && action->isChecked());
}
