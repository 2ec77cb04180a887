// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlaction.h>
#include <zqxml/xmlactiongroup.h>

#include <QSignalSpy>
#include <QtTest>

#include <functional>
#include <memory>

/** A group whose approval can be asked for as a view does. */
class AskedGroup : public XMLActionGroup
{
public:
    void connectApproval(XMLAction &action)
    {
        connect(&action, &XMLAction::toggling, this, &AskedGroup::approveToggle);
    }

    bool approvesWithoutSender()
    {
        bool approved = false;
        approveToggle(approved);
        return approved;
    }

    using XMLActionGroup::updateActions;
};

class tst_XMLActionGroup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void members();
    void emissions_data();
    void emissions();
    void directCallsDoNothing();
    void toggleAction();
    void approval();
    void checkedAction();
    void addedTwice();
    void removal();
    void removeActionTakesTheSender();
    void destroyedMembers();
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

    QString states() const
    {
        QString text;
        for (const auto &action : actions)
            text += !action ? QLatin1Char('-') : action->isChecked() ? QLatin1Char('1') : QLatin1Char('0');
        return text;
    }

    std::unique_ptr<AskedGroup> group;
    std::unique_ptr<XMLAction> actions[4]; // A, B and C are members, D is not
    QStringList emitted;
};

void tst_XMLActionGroup::init()
{
    group = std::make_unique<AskedGroup>();
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
    QCOMPARE(group->actions(), (QList<XMLAction *>{actions[0].get(), actions[1].get(), actions[2].get()}));
    QCOMPARE(actions[0]->actionGroup(), group.get());
    QVERIFY(!actions[3]->actionGroup());
    QVERIFY(emitted.isEmpty());
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
    QTEST(emitted.join(QLatin1Char(' ')), "emitted");
}

void tst_XMLActionGroup::directCallsDoNothing()
{
    actions[0]->setChecked(true);
    emitted.clear();
    group->updateActions();
    group->removeAction();
    QVERIFY(emitted.isEmpty());
    QCOMPARE(states(), QStringLiteral("1000"));
    QCOMPARE(group->actions().size(), 3);
}

void tst_XMLActionGroup::toggleAction()
{
    group->toggleAction(actions[0].get());
    QCOMPARE(states(), QStringLiteral("1000"));
    group->toggleAction(actions[1].get());
    QCOMPARE(states(), QStringLiteral("0100"));
    emitted.clear();
    group->toggleAction(actions[1].get());
    group->toggleAction(actions[3].get());
    group->toggleAction(nullptr);
    QCOMPARE(states(), QStringLiteral("0100"));
    QVERIFY(emitted.isEmpty());
}

void tst_XMLActionGroup::approval()
{
    for (const auto &action : actions)
        group->connectApproval(*action);
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
    QVERIFY(group->approvesWithoutSender());
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
    QCOMPARE(group->actions().size(), 4);
    actions[0]->setChecked(true);
    QCOMPARE(emitted.join(QLatin1Char(' ')), QStringLiteral("A1 B0 C0 B0"));
    emitted.clear();
    actions[1]->setChecked(true);
    QCOMPARE(emitted.join(QLatin1Char(' ')), QStringLiteral("B1 A0 C0 A0 C0"));
    // One entry goes; the other is no longer followed, but still unchecked with the rest.
    group->removeAction(actions[1].get());
    QCOMPARE(group->actions(), (QList<XMLAction *>{actions[0].get(), actions[2].get(), actions[1].get()}));
    QVERIFY(!actions[1]->actionGroup());
    emitted.clear();
    actions[1]->setChecked(true);
    QCOMPARE(emitted.join(QLatin1Char(' ')), QStringLiteral("B1"));
    actions[0]->setChecked(true);
    QCOMPARE(states(), QStringLiteral("1000"));
    // Its connections are cut, but its end is noticed.
    actions[1].reset();
    QCOMPARE(group->actions(), (QList<XMLAction *>{actions[0].get(), actions[2].get()}));
}

void tst_XMLActionGroup::removal()
{
    group->removeAction(actions[0].get());
    QVERIFY(!actions[0]->actionGroup());
    QCOMPARE(group->actions().size(), 2);
    actions[0]->setChecked(true);
    actions[1]->setChecked(true);
    QCOMPARE(states(), QStringLiteral("1100"));
    // What is no member loses its group and its connections all the same.
    XMLActionGroup other;
    other.addAction(actions[3].get());
    group->connectApproval(*actions[3]);
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
    QCOMPARE(group->actions(), (QList<XMLAction *>{actions[0].get(), actions[2].get()}));
    QVERIFY(!actions[1]->actionGroup());
    // A sender that is no action at all.
    QObject stranger;
    connect(&stranger, SIGNAL(objectNameChanged(QString)), group.get(), SLOT(removeAction()));
    stranger.setObjectName(QStringLiteral("x"));
    QCOMPARE(group->actions().size(), 2);
}

void tst_XMLActionGroup::destroyedMembers()
{
    group->addAction(actions[1].get());
    actions[1].reset();
    QCOMPARE(group->actions(), (QList<XMLAction *>{actions[0].get(), actions[2].get()}));
    actions[0]->setChecked(true);
    QCOMPARE(states(), QStringLiteral("1-00"));
}

void tst_XMLActionGroup::changesDuringThePass_data()
{
    using Change = std::function<void(tst_XMLActionGroup &)>;
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("emitted");
    QTest::newRow("the next one is deleted") << Change([](tst_XMLActionGroup &t) { t.actions[2].reset(); })
                                             << QStringLiteral("10-0") << QStringLiteral("A1 B0");
    QTest::newRow("the first one is deleted") << Change([](tst_XMLActionGroup &t) { t.actions[0].reset(); })
                                              << QStringLiteral("-000") << QStringLiteral("A1 B0 C0");
    // The pass goes over those who were members when it began.
    QTest::newRow("the next one is removed")
        << Change([](tst_XMLActionGroup &t) { t.group->removeAction(t.actions[2].get()); }) << QStringLiteral("1000")
        << QStringLiteral("A1 B0 C0");
    QTest::newRow("one is added") << Change([](tst_XMLActionGroup &t) { t.group->addAction(t.actions[3].get()); })
                                  << QStringLiteral("1000") << QStringLiteral("A1 B0 C0");
    QTest::newRow("the group is deleted")
        << Change([](tst_XMLActionGroup &t) { t.group.reset(); }) << QStringLiteral("1010") << QStringLiteral("A1 B0");
    QTest::newRow("another one is checked, which starts no pass of its own")
        << Change([](tst_XMLActionGroup &t) { t.actions[3]->setChecked(true); }) << QStringLiteral("1001")
        << QStringLiteral("A1 B0 D1 C0");
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
    QTEST(emitted.join(QLatin1Char(' ')), "emitted");
    if (!group || !actions[0] || !actions[2])
        return;
    // The pass is over: the next change starts another one.
    emitted.clear();
    actions[0]->setChecked(true);
    QVERIFY(emitted.size() > 1);
}

void tst_XMLActionGroup::groupDestroyedFirst()
{
    const XMLActionGroup *const gone = group.get();
    group.reset();
    QCOMPARE(actions[0]->actionGroup(), gone);
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
        methods << QString::fromLatin1(method.methodSignature()) + QLatin1Char(' ')
                + QString::fromLatin1(method.parameterNames().value(0))
                + (method.methodType() == QMetaMethod::Signal      ? QStringLiteral(" signal")
                       : method.access() == QMetaMethod::Protected ? QStringLiteral(" protected slot")
                                                                   : QStringLiteral(" slot"));
    }
    QCOMPARE(
        methods,
        (QStringList{QStringLiteral("triggered(XMLAction*)  signal"), QStringLiteral("updateActions()  protected slot"),
                     QStringLiteral("removeAction(XMLAction*) action protected slot"),
                     QStringLiteral("removeAction()  protected slot"),
                     QStringLiteral("approveToggle(bool&) approved protected slot")}));
    QVERIFY(group->qt_metacast("XMLActionGroup"));
    QSignalSpy triggered(group.get(), &XMLActionGroup::triggered);
    actions[0]->toggle();
    QCOMPARE(triggered.count(), 0);
}

QTEST_GUILESS_MAIN(tst_XMLActionGroup)
#include "tst_xmlactiongroup.moc"
