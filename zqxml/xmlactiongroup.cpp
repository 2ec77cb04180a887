// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlactiongroup.h"

#include "xmlaction.h"

#include <QPointer>

namespace {

// What is being destroyed is an action no longer, so entries are compared as objects.
void removeEntries(QList<XMLAction *> &actions, const QObject *destroyed)
{
    for (int i = static_cast<int>(actions.size()) - 1; i >= 0; --i) {
        if (actions.at(i) == destroyed)
            actions.removeAt(i);
    }
}

} // namespace

XMLActionGroup::XMLActionGroup(QObject *parent, const char *name) : QObject(parent), updating(false)
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
        // An action that was added twice is listed still. It is no longer followed, but its end must not be missed.
        if (actionList.contains(action)) {
            connect(action, &QObject::destroyed, [group = QPointer<XMLActionGroup>(this)](const QObject *destroyed) {
                if (group)
                    removeEntries(group->actionList, destroyed);
            });
        }
    } else if (signalSender) {
        removeEntries(actionList, signalSender);
    }
}

void XMLActionGroup::approveToggle(bool &approved)
{
    XMLAction *const action = qobject_cast<XMLAction *>(sender());
    approved = !(action && actionList.contains(action) && action->isChecked());
}
