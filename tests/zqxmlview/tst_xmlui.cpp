// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlaction.h>
#include <zqxml/xmlimage.h>
#include <zqxml/xmlmessage.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlui.h>
#include <zqxmlkit/testing.h>
#include <zqxmlview/xmluiagent.h>
#include <zqxmlview/xmluiowner.h>

#include <QAbstractItemModelTester>
#include <QActionGroup>
#include <QApplication>
#include <QLoggingCategory>
#include <QMenu>
#include <QStatusBar>
#include <QTextDocument>
#include <QToolBar>

#include <blocks.h>
#include <testtools.h>

#include <map>

class TestXMLUI : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void scripts();
    void texts_data();
    void texts();
    void looks();
    void owner();
};

namespace {

enum AgentType : int { SHOP = 100, VIEW = 101 };

const QList<QList<int>> exclusive{{1, 2}, {3}};

/** An action as its owner has it, and as the view shows it. */
struct Plain {
    int type;
    int originator;
    int content; // tells actions apart that are equal otherwise
    bool visible;
    bool enabled;
    bool checkable;
    bool checked;

    int group() const
    {
        return type <= 2 ? 0 : type == 3 ? 1 : -1;
    }

    QString name() const
    {
        return QStringLiteral("action %1").arg(content);
    }
};

QString itemOf(const QString &name, bool enabled, bool checked)
{
    return QStringLiteral("%1, enabled %2, checked %3").arg(name).arg(enabled).arg(checked);
}

using Identity = std::array<int, 3>;

std::vector<Identity> identitiesOf(const std::vector<Plain> &actions)
{
    std::map<std::pair<int, int>, int> counts;
    std::vector<Identity> identities;
    for (const Plain &each : actions)
        identities.push_back({each.type, each.originator, counts[{each.type, each.originator}]++});
    return identities;
}

/** What the owner does when \a content was triggered: accepts it, sends what it had, or does nothing. */
bool react(std::vector<Plain> &owned, int content, bool checked, int reaction)
{
    for (Plain &each : owned) {
        if (reaction == 0 && each.content == content)
            each.checked = checked;
    }
    return reaction < 2;
}

/** A row of the model, and when it and its action were first seen. */
QString lineOf(const QString &name, const QList<bool> &flags, int row, int action)
{
    return QStringLiteral("row %1 %2, %3, %4").arg(name, shown(flags)).arg(row).arg(action);
}

/** What happens to a subject, drawn from a seed. */
template <typename Subject>
struct Script {
    explicit Script(quint32 seed) : random(seed)
    {
        Subject subject{owned, log};
        for (int step = 0; step < 25; ++step) {
            const int what = random.below(10);
            if (what < 4) {
                change();
                subject.update();
            } else if (what < 8) {
                // Counted from the owner's list: what is asked for may be gone from the view, or not yet there.
                const int row = random.below(static_cast<int>(owned.size()) + 1);
                const int reaction = random.below(3);
                subject.click(row, random.below(2) == 0, reaction);
            } else {
                subject.setMenuOpen(random.below(3) > 0);
            }
            subject.show();
        }
        subject.setMenuOpen(false);
        subject.show();
    }

    Plain draw(int type, int originator)
    {
        const auto mostly = [this] { return random.below(4) > 0; };
        return {type, originator, ++lastContent, mostly(), mostly(), mostly(), random.below(2) == 0};
    }

    void change()
    {
        for (int changes = 1 + random.below(3); changes > 0; --changes) {
            const int count = static_cast<int>(owned.size());
            const int what = random.below(count == 0 ? 1 : 5);
            const auto place = owned.begin() + random.below(count + (what == 0 ? 1 : 0));
            if (what == 0)
                owned.insert(place, draw(1 + random.below(4), 7 + random.below(2)));
            else if (what == 1)
                owned.erase(place);
            else if (what == 2)
                std::rotate(place, place + 1, owned.end());
            else if (what == 3)
                std::rotate(owned.begin(), place, place + 1);
            else
                *place = draw(place->type, place->originator);
        }
    }

    Mischief random;
    int lastContent = 0;
    std::vector<Plain> owned;
    QStringList log;
};

/** The rules as they are written down. */
struct PlainView {
    void update()
    {
        const std::vector<Identity> before = identitiesOf(seen);
        seen = owned;
        for (const Identity &identity : identitiesOf(seen)) {
            if (std::find(before.begin(), before.end(), identity) == before.end())
                numbers[identity] = ++lastNumber;
        }
    }

    void click(int row, bool, int reaction)
    {
        if (row >= static_cast<int>(seen.size()))
            return;
        Plain &clicked = seen[static_cast<std::size_t>(row)];
        const bool isMember = clicked.checkable && clicked.group() >= 0;
        if (!clicked.visible || !clicked.enabled || (isMember && clicked.checked))
            return;
        if (clicked.checkable)
            clicked.checked = !clicked.checked;
        for (Plain &other : seen) {
            if (isMember && &other != &clicked && other.group() == clicked.group())
                other.checked = false;
        }
        log << QStringLiteral("sent %1 %2").arg(clicked.content).arg(clicked.checked);
        if (react(owned, clicked.content, clicked.checked, reaction))
            update();
    }

    void setMenuOpen(bool open)
    {
        if (open && !isOpen)
            inMenu = visibleOnes();
        isOpen = open;
    }

    std::vector<Identity> visibleOnes() const
    {
        const std::vector<Identity> all = identitiesOf(seen);
        std::vector<Identity> visible;
        for (std::size_t row = 0; row < seen.size(); ++row) {
            if (seen[row].visible)
                visible.push_back(all[row]);
        }
        return visible;
    }

    void show()
    {
        const std::vector<Identity> all = identitiesOf(seen);
        for (std::size_t row = 0; row < seen.size(); ++row) {
            const Plain &each = seen[row];
            const int number = numbers[all[row]];
            log << lineOf(each.name(), {each.visible, each.enabled, each.checkable, each.checked}, number, number);
        }
        for (const Identity &identity : isOpen ? inMenu : visibleOnes()) {
            const auto row = static_cast<std::size_t>(std::find(all.begin(), all.end(), identity) - all.begin());
            const Plain each = row < all.size() ? seen[row] : Plain();
            log << (row < all.size() ? itemOf(each.name(), each.enabled && each.visible, each.checkable && each.checked)
                                     : itemOf(QStringLiteral("gone"), false, false));
        }
    }

    std::vector<Plain> &owned;
    QStringList &log;
    std::vector<Plain> seen{};
    std::vector<Identity> inMenu{}; // the rows that an open menu has, whatever happens
    bool isOpen = false;
    std::map<Identity, int> numbers{};
    int lastNumber = 0;
};

/** The library between an owner and a menu. */
struct RealView {
    RealView(std::vector<Plain> &ownedActions, QStringList &lines) : owned(ownedActions), log(lines)
    {
        for (const QList<int> &types : exclusive)
            view.binder()->addExclusiveGroup(types);
        view.binder()->addTo(&menu);
        view.binder()->addTo(&toolBar);
        menu.addAction(QStringLiteral("the application's"));
        QObject::connect(&shop, &XMLEndpoint::actionReceived, [this](int, XMLAction &action) {
            const int content = action.getJobID();
            log << QStringLiteral("sent %1 %2").arg(content).arg(action.isChecked());
            if (react(owned, content, action.isChecked(), reactionToCome))
                update();
        });
    }

    void update()
    {
        XMLUI ui(QStringLiteral("Shop"));
        for (const Plain &each : owned) {
            XMLAction action(each.name(), each.type, each.originator);
            action.setJobID(each.content);
            action.setVisible(each.visible);
            action.setEnabled(each.enabled);
            action.setCheckable(each.checkable);
            action.setChecked(each.checked);
            ui.append(action);
        }
        shop.send(view.getAgentID(), ui);
        QCoreApplication::processEvents();
        XMLUIModel *const model = view.binder()->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            if (model->index(row).data(XMLUIModel::RectRole).toRect().isNull()) {
                model->setData(model->index(row), QRect(0, 0, ++lastNumber, 1), XMLUIModel::RectRole);
                view.binder()->actions().at(row)->setProperty("number", lastNumber);
            }
        }
    }

    void click(int row, bool inModel, int reaction)
    {
        reactionToCome = reaction;
        const QList<QAction *> actions = view.binder()->actions();
        if (inModel)
            view.binder()->model()->trigger(row);
        else if (row < actions.size())
            actions.at(row)->trigger();
        QCoreApplication::processEvents();
    }

    void setMenuOpen(bool open)
    {
        if (open)
            menu.popup(QPoint());
        else
            menu.close();
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void show()
    {
        const XMLUIModel *const model = view.binder()->model();
        for (int row = 0; row < model->rowCount(); ++row) {
            const auto value = [&](int role) { return model->index(row).data(role); };
            log << lineOf(value(XMLUIModel::NameRole).toString(),
                          {value(XMLUIModel::VisibleRole).toBool(), value(XMLUIModel::EnabledRole).toBool(),
                           value(XMLUIModel::CheckableRole).toBool(), value(XMLUIModel::CheckedRole).toBool()},
                          value(XMLUIModel::RectRole).toRect().width(),
                          view.binder()->actions().at(row)->property("number").toInt());
        }
        const QStringList inMenu = lookOf(menu);
        if (!menu.isVisible() && inMenu != lookOf(toolBar))
            log << QStringLiteral("another tool bar: ") + lookOf(toolBar).join(QLatin1Char(';'));
        log << inMenu;
    }

    QStringList lookOf(const QWidget &widget) const
    {
        QStringList look;
        const QList<QAction *> present = view.binder()->actions();
        for (QAction *action : widget.actions()) {
            if (!action->isVisible() || action->parent() != view.binder())
                continue;
            look << itemOf(present.contains(action) ? action->text() : QStringLiteral("gone"), action->isEnabled(),
                           present.contains(action) && action->isCheckable() && action->isChecked());
        }
        return look;
    }

    std::vector<Plain> &owned;
    QStringList &log;
    XMLRouter router{nullptr};
    XMLEndpoint shop{&router, SHOP};
    XMLUIAgent view{&router, VIEW};
    QAbstractItemModelTester tester{view.binder()->model(), QAbstractItemModelTester::FailureReportingMode::Fatal};
    QMenu menu;
    QToolBar toolBar;
    int reactionToCome = 0;
    int lastNumber = 0;
};

} // namespace

void TestXMLUI::scripts()
{
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false")); // what a screenless menu cannot do
    compareBySeeds<Script<PlainView>, Script<RealView>>(40);
    QLoggingCategory::setFilterRules(QString());
}

void TestXMLUI::texts_data()
{
    addBlocks(QFINDTESTDATA("../data/view/labels.txt"));
}

/** Whatever a name holds, it is shown as text, and the tool tip reads the same. */
void TestXMLUI::texts()
{
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, expected);
    const QString name = QString::fromUtf8(input.constData(), int(input.size()) - 1); // with its zero byte
    const QString label = QString::fromUtf8(expected.chopped(1));
    XMLUIBinder binder;
    XMLUI ui;
    XMLAction action(name, 1, 2);
    ui.append(action);
    binder.setUI(ui);
    const QAction &shown = *binder.actions().first();
    QCOMPARE(shown.text(), label);
    QTextDocument tip;
    if (Qt::mightBeRichText(shown.toolTip()))
        tip.setHtml(shown.toolTip());
    else
        tip.setPlainText(shown.toolTip());
    const QString plain = QString(label).replace(QLatin1String("&&"), QLatin1String("&"));
    if (name.size() <= XMLUIBinder::MAX_TEXT)
        QCOMPARE(tip.toPlainText(), plain);
    else
        QVERIFY(tip.toPlainText().startsWith(plain.chopped(1)));
    QCOMPARE(binder.model()->index(0).data().toString(), name);
}

/** Icons of the application and of the owner, shortcuts, the current action, groups, and messages. */
void TestXMLUI::looks()
{
    XMLUIBinder binder;
    const QIcon square(QPixmap(8, 8));
    binder.setTemplate(1, square, QKeySequence(Qt::Key_F2));
    binder.addExclusiveGroup({1, 2});
    XMLUI ui;
    const auto append = [&ui](const char *name, int type, bool checkable) {
        XMLAction action(QString::fromLatin1(name), type, 5);
        action.setCheckable(checkable);
        action.setSelected(type == 2);
        ui.append(action);
    };
    append("one", 1, true);
    append("another", 1, false);
    append("two", 2, true);
    ui.setActionOrgName(2, 5, QStringLiteral("second"));
    binder.setUI(ui);
    QAction *const one = binder.action(1, 5);
    QAction *const another = binder.action(1, 5, 1);
    QAction *const two = binder.action(2, 5);
    QCOMPARE(binder.actions(), (QList<QAction *>{one, another, two}));
    QVERIFY(!binder.action(2, 6));

    const auto lookOf = [one](const QAction *action) {
        const QActionGroup *const group = action->actionGroup();
        return QStringLiteral("'%1' bold %2 in one's group %3 exclusive %4")
            .arg(action->shortcut().toString())
            .arg(action->font().bold())
            .arg(group == one->actionGroup())
            .arg(group && group->isExclusive());
    };
    QCOMPARE(lookOf(one), QStringLiteral("'F2' bold 0 in one's group 1 exclusive 1"));
    QCOMPARE(lookOf(another), QStringLiteral("'' bold 0 in one's group 0 exclusive 0"));
    QCOMPARE(lookOf(two), QStringLiteral("'' bold 1 in one's group 1 exclusive 1"));

    const QList<QSize> small{QSize(1, 1)};
    const QList<QSize> large{QSize(8, 8)};
    QCOMPARE(one->icon().availableSizes(), large);
    const QString dot = QStringLiteral("data:image/x-portable-pixmap;base64,") // one pixel
        + QString::fromLatin1(QByteArray("P3 1 1 1 0 1 0").toBase64());
    XMLImage image(QStringLiteral("one"));
    image.setURL(dot);
    binder.setImage(image);
    QCOMPARE(one->icon().availableSizes(), small);
    QCOMPARE(another->icon().availableSizes(), large);
    image.setName(QStringLiteral("two")); // which is not its org_name
    binder.setImage(image);
    QVERIFY(two->icon().isNull());
    image.setName(QStringLiteral("second"));
    for (const QString &location :
         {dot, QStringLiteral("data:nothing"), QStringLiteral("/dev/zero"), QStringLiteral("http://nowhere.example/"),
          QStringLiteral("data:;base64,%1").arg(QString::fromLatin1(QByteArray("P6 60000 60000 255 ").toBase64()))}) {
        image.setURL(location);
        binder.setImage(image);
        QCOMPARE(two->icon().isNull(), location != dot);
        QCOMPARE(binder.model()->index(2).data(XMLUIModel::ImageRole).toString(), location);
    }

    QStatusBar statusBar;
    binder.setStatusBar(&statusBar);
    QSignalSpy messages(&binder, &XMLUIBinder::messageShown);
    const QString text = QStringLiteral("<b>&done</b>\n");
    binder.showMessage(XMLMessage(text));
    QCOMPARE(statusBar.currentMessage(), text);
    QCOMPARE(messages.takeFirst().first().toString(), text);
}

/** One packet a turn, to whom it may concern; what was refused is shown as it was; agents come and go. */
void TestXMLUI::owner()
{
    XMLRouter router(nullptr);
    auto owner = std::make_unique<XMLUIOwner>(&router, SHOP, QStringLiteral("Queue"));
    const int id = owner->getAgentID();
    XMLAction hold(QStringLiteral("Hold"), 1, id);
    hold.setCheckable(true);
    XMLAction proof(QStringLiteral("Proof"), 2, id);
    owner->append(hold);
    owner->append(proof);
    XMLRecordingAgent counter(router);
    XMLUIAgent view(&router, VIEW);
    XMLUIOwner stranger(&router, SHOP, QStringLiteral("Stranger"));
    stranger.append(proof);
    const auto shownActions = [&view] {
        QStringList texts(view.binder()->model()->name());
        for (const QAction *action : view.binder()->actions())
            texts << itemOf(action->text(), action->isEnabled(), action->isChecked());
        return texts.join(QLatin1String("; "));
    };
    owner->show(counter.getAgentID());
    owner->show(view.getAgentID());
    for (int i = 0; i < 10; ++i) {
        owner->change(2, id, [i](XMLAction &own) { own.setName(QStringLiteral("Proof %1").arg(i)); });
        owner->change(2, 77, [](XMLAction &own) { own.setName(QStringLiteral("nobody's")); });
    }
    const QString first = QStringLiteral("Queue; Hold, enabled 1, checked 0; Proof 9, enabled 1, checked 0");
    QTRY_COMPARE(shownActions(), first);
    QCOMPARE(view.owner(), id);
    stranger.show(view.getAgentID());
    QCoreApplication::processEvents();
    QCOMPARE(shownActions(), first);

    QStringList log;
    connect(owner.get(), &XMLUIOwner::triggered, this, [&](int from, XMLAction &action) {
        QCOMPARE(from, view.getAgentID());
        log << QStringLiteral("%1 %2").arg(action.getName()).arg(action.isChecked());
    });
    const QPointer<QAction> holding = view.binder()->action(1, id);
    QAction *const proofing = view.binder()->action(2, id);
    holding->trigger(); // refused: nothing is changed
    QVERIFY(holding->isChecked());
    QTRY_COMPARE(shownActions(), first);
    QCOMPARE(log, QStringList{QStringLiteral("Hold 1")});
    QCOMPARE(counter.packets.size(), std::size_t(1));

    // A click on what has been taken away, or disabled, in the same moment; a trigger from who is shown nothing.
    QCOMPARE(owner->change(1, id, [](XMLAction &own) { own.setEnabled(false); }), 1);
    QCOMPARE(owner->remove(2, id), 1);
    holding->trigger();
    proofing->trigger();
    stranger.send(id, hold);
    QTRY_COMPARE(shownActions(), QStringLiteral("Queue; Hold, enabled 0, checked 0"));
    QCOMPARE(log.size(), 1);

    owner->hide(counter.getAgentID());
    QTRY_COMPARE(counter.packets.size(), std::size_t(3));
    owner->change(1, id, [](XMLAction &own) { own.setEnabled(true); });
    QTRY_COMPARE(shownActions(), QStringLiteral("Queue; Hold, enabled 1, checked 0"));
    QCOMPARE(counter.packets.size(), std::size_t(3));

    // The agent goes, with its user interface; the stranger may have the view then.
    owner.reset();
    QCOMPARE(view.owner(), 0);
    QVERIFY(view.binder()->actions().isEmpty());
    QTRY_VERIFY(holding.isNull());
    stranger.append(hold);
    QTRY_COMPARE(view.owner(), stranger.getAgentID());
    view.setOwner(4711);
    QVERIFY(view.binder()->actions().isEmpty());
}

ZQXML_WIDGET_TEST_MAIN(TestXMLUI)
#include "tst_xmlui.moc"
