// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "accounts.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlactiongroup.h>

#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <memory>

class tst_XMLActionGroup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void members();
    void emissions_data();
    void emissions();
    void toggleAction();
    void approval();
    void checkedAction();
    void addedTwice();
    void removal();
    void removeActionTakesTheSender();
    void changesDuringThePass_data();
    void changesDuringThePass();
    void groupDestroyedFirst();
    void metaObject();

private:
    /** Notes who emits, as in "A1 B0": name and state. */
    void record(XMLAction &action)
    {
        connect(&action, &XMLAction::toggled, this, [this, name = action.getName()](bool checked) {
            emitted << name + (checked ? QLatin1Char('1') : QLatin1Char('0'));
        });
    }

    /** Lets the group approve, as a view does. */
    void connectApproval(const XMLAction &action) const
    {
        connect(&action, SIGNAL(toggling(bool &)), group.get(), SLOT(approveToggle(bool &)));
    }

    /** Returns what was emitted since the last call. */
    QString takeEmitted()
    {
        const QString text = emitted.join(QLatin1Char(' '));
        emitted.clear();
        return text;
    }

    QList<XMLAction *> listed(const QList<int> &indexes) const
    {
        QList<XMLAction *> list;
        for (const int i : indexes)
            list << actions[i].get();
        return list;
    }

    QString states() const
    {
        QString text;
        for (const auto &action : actions)
            text += !action ? QLatin1Char('-') : action->isChecked() ? QLatin1Char('1') : QLatin1Char('0');
        return text;
    }

    std::unique_ptr<XMLActionGroup> group;
    std::unique_ptr<XMLAction> actions[4]; // A, B and C are members, D is not
    QStringList emitted;
};

void tst_XMLActionGroup::init()
{
    group = std::make_unique<XMLActionGroup>();
    for (int i = 0; i < 4; ++i) {
        actions[i] = std::make_unique<XMLAction>(QString(QChar(ushort('A' + i))), i, 0);
        record(*actions[i]);
        if (i < 3)
            QCOMPARE(group->addAction(actions[i].get()), actions[i].get());
    }
}

void tst_XMLActionGroup::cleanup()
{
    group.reset();
    for (auto &action : actions)
        action.reset();
    emitted.clear();
}

void tst_XMLActionGroup::members()
{
    QObject parent;
    const XMLActionGroup *const named = new XMLActionGroup(&parent, "gr\xfc");
    QCOMPARE(named->objectName(), QStringLiteral("gr\u00fc"));
    QVERIFY(!group->addAction(nullptr));
    QCOMPARE(group->actions(), listed({0, 1, 2}));
    QVERIFY(actions[0]->actionGroup() == group.get() && !actions[3]->actionGroup());
    // Without a sender the slots do nothing.
    actions[0]->setChecked(true);
    takeEmitted();
    bool approved = false;
    QVERIFY(QMetaObject::invokeMethod(group.get(), "updateActions"));
    QVERIFY(QMetaObject::invokeMethod(group.get(), "removeAction"));
    QVERIFY(QMetaObject::invokeMethod(group.get(), "approveToggle", Q_ARG(bool &, approved)));
    QVERIFY(emitted.isEmpty() && approved && group->actions().size() == 3);
}

void tst_XMLActionGroup::emissions_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<int>("changed");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("emitted");
    const auto row = [](const char *name, const char *before, int changed, bool checked, const char *after,
                        const char *order) {
        QTest::newRow(name) << QString::fromLatin1(before) << changed << checked << QString::fromLatin1(after)
                            << QString::fromLatin1(order);
    };
    // The recorder was connected before the group: the sender is heard first, then its fellows in order.
    row("checking one unchecks the others", "1000", 1, true, "0100", "B1 A0 C0");
    row("unchecked members emit too", "0000", 0, true, "1000", "A1 B0 C0");
    row("checking the checked one again", "0100", 1, true, "0100", "B1 A0 C0");
    row("unchecking an unchecked one unchecks all", "0100", 0, false, "0000", "A0 B0 C0");
    row("unchecking the checked one", "0010", 2, false, "0000", "C0 A0 B0");
    row("what is no member stays out", "1000", 3, true, "1001", "D1");
    row("a non-member is not unchecked", "0001", 0, true, "1001", "A1 B0 C0");
}

void tst_XMLActionGroup::emissions()
{
    QFETCH(QString, before);
    QFETCH(int, changed);
    QFETCH(bool, checked);
    QFETCH(QString, after);
    for (int i = 0; i < 4; ++i) {
        QDomElement node = actions[i]->getNode();
        XMLObject::setProperty(node, QStringLiteral("checked"), before.at(i) == QLatin1Char('1'));
    }
    actions[changed]->setChecked(checked);
    QCOMPARE(states(), after);
    QTEST(takeEmitted(), "emitted");
}

void tst_XMLActionGroup::toggleAction()
{
    group->toggleAction(actions[0].get());
    group->toggleAction(actions[1].get());
    QCOMPARE(takeEmitted(), QStringLiteral("A1 B0 C0 B1 A0 C0"));
    group->toggleAction(actions[1].get()); // checked already
    group->toggleAction(actions[3].get()); // no member
    group->toggleAction(nullptr);
    QVERIFY(emitted.isEmpty());
}

void tst_XMLActionGroup::approval()
{
    for (const auto &action : actions)
        connectApproval(*action);
    actions[0]->setChecked(true);
    actions[3]->setChecked(true);
    const auto approves = [](XMLAction &action, bool before) {
        bool approved = before;
        Q_EMIT action.toggling(approved);
        return approved;
    };
    for (const bool before : {false, true}) {
        QVERIFY2(!approves(*actions[0], before), "the checked member may not switch itself off");
        QVERIFY(approves(*actions[1], before));
        QVERIFY2(approves(*actions[3], before), "no member");
    }
}

void tst_XMLActionGroup::checkedAction()
{
    actions[0]->setChecked(true);
    QVERIFY2(!group->checkedAction(), "checked is not selected");
    actions[2]->setSelected(true);
    actions[3]->setSelected(true);
    QCOMPARE(group->checkedAction(), actions[2].get());
    actions[1]->setSelected(true);
    QCOMPARE(group->checkedAction(), actions[1].get());
}

void tst_XMLActionGroup::addedTwice()
{
    group->addAction(actions[1].get());
    actions[0]->setChecked(true);
    QCOMPARE(takeEmitted(), QStringLiteral("A1 B0 C0 B0"));
    actions[1]->setChecked(true);
    QCOMPARE(takeEmitted(), QStringLiteral("B1 A0 C0 A0 C0"));
    // One entry goes; the other is no longer followed, but still unchecked with the rest, and its end is noticed.
    group->removeAction(actions[1].get());
    QCOMPARE(group->actions(), listed({0, 2, 1}));
    QVERIFY(!actions[1]->actionGroup());
    actions[1]->setChecked(true);
    QCOMPARE(takeEmitted(), QStringLiteral("B1"));
    actions[0]->setChecked(true);
    QCOMPARE(states(), QStringLiteral("1000"));
    actions[1].reset();
    QCOMPARE(group->actions(), listed({0, 2}));
    // Destroyed while it is listed twice.
    group->addAction(actions[0].get());
    actions[0].reset();
    QCOMPARE(group->actions(), listed({2}));
}

void tst_XMLActionGroup::removal()
{
    group->removeAction(actions[0].get());
    QVERIFY(!actions[0]->actionGroup());
    actions[0]->setChecked(true);
    actions[1]->setChecked(true);
    QCOMPARE(states(), QStringLiteral("1100"));
    // What is no member loses its group and its connections all the same.
    XMLActionGroup other;
    other.addAction(actions[3].get());
    connectApproval(*actions[3]);
    group->removeAction(actions[3].get());
    QVERIFY(!actions[3]->actionGroup());
    QCOMPARE(other.actions().size(), 1);
    bool approved = false;
    Q_EMIT actions[3]->toggling(approved);
    QVERIFY(!approved);
}

void tst_XMLActionGroup::removeActionTakesTheSender()
{
    connect(actions[3].get(), SIGNAL(toggling(bool &)), group.get(), SLOT(removeAction()));
    connect(actions[1].get(), SIGNAL(toggling(bool &)), group.get(), SLOT(removeAction()));
    bool flag = false;
    Q_EMIT actions[3]->toggling(flag);
    QCOMPARE(group->actions().size(), 3);
    Q_EMIT actions[1]->toggling(flag);
    QCOMPARE(group->actions(), listed({0, 2}));
    QVERIFY(!actions[1]->actionGroup());
    // A sender that is no action at all.
    QObject stranger;
    connect(&stranger, SIGNAL(objectNameChanged(QString)), group.get(), SLOT(removeAction()));
    stranger.setObjectName(QStringLiteral("x"));
    QCOMPARE(group->actions().size(), 2);
}

void tst_XMLActionGroup::changesDuringThePass_data()
{
    using Change = std::function<void(tst_XMLActionGroup &)>;
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("emitted");
    QTest::addColumn<Change>("change");
    const auto row = [](const char *name, const char *after, const char *order, const Change &change) {
        QTest::newRow(name) << QString::fromLatin1(after) << QString::fromLatin1(order) << change;
    };
    using Test = tst_XMLActionGroup;
    row("the next one is deleted", "10-0", "A1 B0", [](Test &t) { t.actions[2].reset(); });
    row("the first one is deleted", "-000", "A1 B0 C0", [](Test &t) { t.actions[0].reset(); });
    // The pass goes over those who were members when it began.
    row("the next one is removed", "1000", "A1 B0 C0", [](Test &t) { t.group->removeAction(t.actions[2].get()); });
    row("one is added", "1000", "A1 B0 C0", [](Test &t) { t.group->addAction(t.actions[3].get()); });
    row("the group is deleted", "1010", "A1 B0", [](Test &t) { t.group.reset(); });
    row("another one is checked, which starts no pass of its own", "1001", "A1 B0 D1 C0",
        [](Test &t) { t.actions[3]->setChecked(true); });
}

Q_DECLARE_METATYPE(std::function<void(tst_XMLActionGroup &)>)

void tst_XMLActionGroup::changesDuringThePass()
{
    QFETCH(std::function<void(tst_XMLActionGroup &)>, change);
    QFETCH(QString, after);
    QDomElement node = actions[2]->getNode();
    XMLObject::setProperty(node, QStringLiteral("checked"), true);
    connect(actions[1].get(), &XMLAction::toggled, this, [&] { change(*this); });
    actions[0]->setChecked(true);
    QCOMPARE(states(), after);
    QTEST(takeEmitted(), "emitted");
    if (!group || !actions[0] || !actions[2])
        return;
    actions[0]->setChecked(true);
    QVERIFY2(emitted.size() > 1, "the pass is over: the next change starts another one");
}

void tst_XMLActionGroup::groupDestroyedFirst()
{
    group.reset();
    actions[0]->setChecked(true);
    actions[1]->setChecked(true);
    QCOMPARE(states(), QStringLiteral("1100"));
}

void tst_XMLActionGroup::metaObject()
{
    const QMetaObject &meta = XMLActionGroup::staticMetaObject;
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        methods << QString::fromLatin1(method.methodSignature() + ' ' + method.parameterNames().value(0));
        QCOMPARE(method.methodType(), i == meta.methodOffset() ? QMetaMethod::Signal : QMetaMethod::Slot);
        QCOMPARE(method.access(), i == meta.methodOffset() ? QMetaMethod::Public : QMetaMethod::Protected);
    }
    QCOMPARE(methods.join(QLatin1Char('|')),
             QStringLiteral("triggered(XMLAction*) |updateActions() |removeAction(XMLAction*) action|removeAction() |"
                            "approveToggle(bool&) approved"));
    QSignalSpy triggered(group.get(), &XMLActionGroup::triggered);
    actions[0]->toggle();
    QCOMPARE(triggered.count(), 0);
}

ZQXML_TEST_MAIN(tst_XMLActionGroup)
#include "tst_xmlactiongroup.moc"
