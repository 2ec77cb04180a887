// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlactiongroup.h"

#include "xmlaction.h"

#include <QPointer>

#include <vector>

namespace {

// Returns null for an entry whose end is under way, seen by a slot on its destroyed(): it is an action no longer.
XMLAction *liveAction(QObject *entry)
{
    return qobject_cast<XMLAction *>(entry);
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
    // By name, so that those who may not name the protected slot can disconnect it.
    connect(action, SIGNAL(toggled(bool)), this, SLOT(updateActions()));
    connect(action, SIGNAL(destroyed(QObject *)), this, SLOT(removeAction()));
    return action;
}

void XMLActionGroup::toggleAction(XMLAction *action)
{
    if (action && actionList.contains(action) && liveAction(action) && !action->isChecked())
        action->toggle();
}

QList<XMLAction *> XMLActionGroup::actions() const
{
    QList<XMLAction *> members;
    members.reserve(actionList.size());
    for (XMLAction *const action : actionList) {
        if (liveAction(action))
            members.append(action);
    }
    return members;
}

XMLAction *XMLActionGroup::checkedAction() const
{
    for (XMLAction *const action : actionList) {
        if (liveAction(action) && action->isSelected())
            return action;
    }
    return nullptr;
}

void XMLActionGroup::updateActions()
{
    // The sender is asked for last: that takes time in proportion to the members.
    const QObject *const changed = updating ? nullptr : sender();
    if (!changed)
        return;
    // A slot on a member's toggled() may destroy other members, or the group.
    const QPointer<XMLActionGroup> alive(this);
    const QList<XMLAction *> present = actions();
    const std::vector<QPointer<XMLAction>> members(present.cbegin(), present.cend());
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
    QObject *const object = action ? action : sender();
    if (XMLAction *const member = liveAction(object))
        release(member);
    else
        forget(object);
}

void XMLActionGroup::release(XMLAction *action)
{
    action->setActionGroup(nullptr);
    action->disconnect(this);
    actionList.removeOne(action);
    // An action that was added twice is listed still. It is no longer followed, but its end must not be missed.
    if (actionList.contains(action))
        connect(action, SIGNAL(destroyed(QObject *)), this, SLOT(removeAction()));
}

void XMLActionGroup::forget(const QObject *destroyed)
{
    for (int i = static_cast<int>(actionList.size()) - 1; i >= 0; --i) {
        if (actionList.at(i) == destroyed)
            actionList.removeAt(i);
    }
}

void XMLActionGroup::approveToggle(bool &approved)
{
    XMLAction *const action = qobject_cast<XMLAction *>(sender());
    approved = !(action && actionList.contains(action) && action->isChecked());
}
