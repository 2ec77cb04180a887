// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlactiongroup.h>

#include <QPointer>

namespace {

/** The rules of exclusive actions in their plainest form. */
class PlainGroup
{
public:
    void addAction(XMLAction *action)
    {
        list << action;
        QObject::connect(action, &XMLAction::toggled, &context, [this, action] { uncheckOthers(action); });
    }

    void removeAction(XMLAction *action)
    {
        list.removeOne(action);
        action->disconnect(&context);
    }

    void toggleAction(XMLAction *action)
    {
        if (list.contains(action) && !action->isChecked())
            action->setChecked(true);
    }

    QList<XMLAction *> actions() const
    {
        QList<XMLAction *> alive;
        for (const QPointer<XMLAction> &action : list) {
            if (action)
                alive << action;
        }
        return alive;
    }

    XMLAction *checkedAction() const
    {
        for (XMLAction *const action : actions()) {
            if (action->isSelected())
                return action;
        }
        return nullptr;
    }

private:
    void uncheckOthers(const XMLAction *changed)
    {
        if (updating)
            return;
        updating = true;
        const QPointer<QObject> alive(&context);
        const auto members = list;
        for (const QPointer<XMLAction> &member : members) {
            if (member && member != changed)
                member->setChecked(false);
            if (!alive)
                return;
        }
        updating = false;
    }

    QObject context;
    QList<QPointer<XMLAction>> list;
    bool updating = false;
};

/** Groups whose actions do something else whenever they are toggled and when they go, drawn from a seed. */
template <typename Group>
class Panel : public Mischief
{
public:
    explicit Panel(quint32 seed) : Mischief(seed)
    {
        while (goesOn())
            happen();
        for (int number = 0; number < 6; ++number)
            note("at the end", number, actions[number] && actions[number]->isChecked());
        for (const QPointer<XMLAction> &action : actions)
            delete action;
        delete groups[0];
        delete groups[1];
    }

    QStringList log;

private:
    void note(const char *what, int first, int second = 0)
    {
        log << QStringLiteral("%1 %2 %3").arg(QLatin1String(what)).arg(first).arg(second);
    }

    void happen()
    {
        if (goesOn())
            step(below(6), below(2));
    }

    void step(int number, int groupNumber)
    {
        QPointer<XMLAction> &action = actions[number];
        Group *&group = groups[groupNumber];
        if (!action)
            return make(number);
        if (!group) {
            group = new Group;
            return;
        }
        switch (below(14)) {
        case 0:
            return void(delete action);
        case 1:
            return below(3) ? void() : delete std::exchange(group, nullptr);
        case 2:
        case 3:
        case 4:
            return void(group->addAction(action));
        case 5:
            return group->removeAction(action);
        case 6:
            return group->toggleAction(action);
        case 7:
            return action->toggle();
        case 8:
            return action->setSelected(below(2));
        case 9:
            return list(group);
        default:
            return action->setChecked(below(3));
        }
    }

    void make(int number)
    {
        auto *const action = new XMLAction(QString(), number, 0);
        actions[number] = action;
        QObject::connect(action, &XMLAction::toggled, action, [this, number](bool checked) {
            note("toggled", number, checked);
            happen();
        });
        // An action that goes is a member still when its first slots are called.
        QObject::connect(action, &QObject::destroyed, [this, number] {
            note("gone", number);
            happen();
        });
    }

    void list(Group *group)
    {
        for (const XMLAction *const member : group->actions())
            note("member", member->getType());
        const XMLAction *const checked = group->checkedAction();
        note("first that is selected", checked ? checked->getType() : -1);
    }

    QPointer<XMLAction> actions[6];
    Group *groups[2] = {new Group, new Group};
};

} // namespace

class tst_XMLActionGroup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void panelsByTheRules();
    void membership();
    void slotsByName();
};

void tst_XMLActionGroup::panelsByTheRules()
{
    compareBySeeds<Panel<PlainGroup>, Panel<XMLActionGroup>>(200);
}

void tst_XMLActionGroup::membership()
{
    QObject parent;
    auto *const group = new XMLActionGroup(&parent, "gr\xfc");
    QCOMPARE(group->parent(), &parent);
    QCOMPARE(group->objectName(), QStringLiteral("gr\u00fc"));
    XMLAction action;
    QCOMPARE(group->addAction(&action), &action);
    QCOMPARE(action.actionGroup(), group);
    QVERIFY(!group->addAction(nullptr));
    group->toggleAction(nullptr);
    group->removeAction(nullptr);
    XMLActionGroup other;
    other.removeAction(&action); // no member, and yet
    QVERIFY(!action.actionGroup());
}

void tst_XMLActionGroup::slotsByName()
{
    XMLActionGroup group;
    XMLAction first;
    XMLAction second;
    group.addAction(&first);
    group.addAction(&second);
    first.setChecked(true);
    // Without a sender they do nothing, but for the one that approves.
    bool approved = false;
    QVERIFY(QMetaObject::invokeMethod(&group, "updateActions"));
    QVERIFY(QMetaObject::invokeMethod(&group, "removeAction"));
    QVERIFY(QMetaObject::invokeMethod(&group, "approveToggle", Q_ARG(bool &, approved)));
    QVERIFY(approved);
    XMLAction stranger;
    stranger.setChecked(true);
    for (XMLAction *const action : {&first, &second, &stranger}) {
        connect(action, SIGNAL(toggling(bool &)), &group, SLOT(approveToggle(bool &)));
        Q_EMIT action->toggling(approved);
        QCOMPARE(approved, action != &first);
    }
    QVERIFY(disconnect(&second, SIGNAL(toggled(bool)), &group, SLOT(updateActions())));
    second.setChecked(true);
    QVERIFY(first.isChecked());
    connect(&first, SIGNAL(toggling(bool &)), &group, SLOT(removeAction()));
    Q_EMIT first.toggling(approved);
    QCOMPARE(group.actions(), QList<XMLAction *>{&second});
}

ZQXML_TEST_MAIN(tst_XMLActionGroup)
#include "tst_xmlactiongroup.moc"
