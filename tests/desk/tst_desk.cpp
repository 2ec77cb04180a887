// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <desk/deskwindow.h>
#include <desk/recordpane.h>
#ifdef ZQXML_WITH_BUS
#include <standin/zqstandin.h>
#include <tools/bus.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlpipetransport.h>
#include <zqxmlkit/xmlrecordserver.h>
#endif
#include <zqxml/xmlaction.h>

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <QToolBar>
#include <QToolButton>

/**
 * Drives the desk by mouse and keyboard, as a user does. With the folder ZQXML_PICTURES in the environment it is
 * photographed meanwhile: ZQXML_PICTURES_DARK makes it dark and ZQXML_PICTURES_SIZE gives its width and height.
 */
class TestDesk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void drive();
    void openMenu();
    void bus();

private:
    RecordPane *pane(const char *name) const
    {
        const QList<RecordPane *> panes = window->findChildren<RecordPane *>();
        for (RecordPane *const each : panes) {
            if (each->accessibleName() == DeskWindow::tr(name))
                return each;
        }
        return nullptr;
    }

    QStringList namesOf(const RecordPane *pane) const
    {
        QStringList names;
        for (int row = 0; row < pane->proxy()->rowCount(); ++row)
            names << pane->proxy()->index(row, 0).data().toString();
        return names;
    }

    QString textOf(const RecordPane *pane, int row, const char *field) const
    {
        const int column = pane->proxy()->columnOf(QString::fromLatin1(field));
        return pane->proxy()->index(row, column).data().toString();
    }

    QToolButton *button(DeskAgent::ActionType type) const
    {
        const QToolBar *const toolBar = window->findChild<QToolBar *>();
        return qobject_cast<QToolButton *>(toolBar->widgetForAction(toolBar->actions().at(type - 1)));
    }

    void click(DeskAgent::ActionType type) const
    {
        QTest::mouseClick(button(type), Qt::LeftButton);
        QCoreApplication::processEvents();
    }

    void clickRow(QTableView *view, int row) const
    {
        view->scrollTo(view->model()->index(row, 0));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier,
                          view->visualRect(view->model()->index(row, 0)).center());
        QCoreApplication::processEvents();
    }

    void photograph(const char *name) const
    {
        const QString folder = qEnvironmentVariable("ZQXML_PICTURES");
        if (folder.isEmpty())
            return;
        QTest::qWait(300); // until the screen shows it
        // Of the screen where there is one, so that an open menu is in the picture.
        const QPixmap picture = QGuiApplication::platformName() == QLatin1String("offscreen")
            ? window->grab()
            : window->screen()->grabWindow(0, window->x(), window->y(), window->width(), window->height());
        QVERIFY(picture.save(QStringLiteral("%1/desk-%2.png").arg(folder, QLatin1String(name))));
    }

    std::unique_ptr<DeskStore> store;
    std::unique_ptr<DeskWindow> window;
};

void TestDesk::init()
{
    QString error;
    store = DeskStore::open(QString(), &error);
    QVERIFY2(store, qPrintable(error));
    window = std::make_unique<DeskWindow>(*store, QStringLiteral("shop.db"));
    const QStringList size = qEnvironmentVariable("ZQXML_PICTURES_SIZE").split(QLatin1Char('x'));
    if (size.size() == 2)
        window->resize(size.at(0).toInt(), size.at(1).toInt());
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window.get()));
    window->activateWindow();
    QTRY_COMPARE(pane("Outputs")->currentRow(), 0);
    QTRY_VERIFY(!window->isLoading());
}

void TestDesk::cleanup()
{
    window.reset();
    store.reset();
}

/** Outputs and their jobs, what can be done with them, the search, and the tabs. */
void TestDesk::drive()
{
    RecordPane *const outputs = pane("Outputs");
    RecordPane *const jobs = pane("Jobs");
    QTRY_COMPARE(outputs->proxy()->rowCount(), 24);
    QTRY_COMPARE(outputs->currentRow(), 0);
    const auto row = static_cast<int>(namesOf(outputs).indexOf(QStringLiteral("Bogenoffset Halle 3")));
    clickRow(outputs, row);
    QTRY_VERIFY(!window->isLoading() && jobs->proxy()->rowCount() == 2);
    const QStringList ofOutput = namesOf(jobs);

    // The exclusive pair, by mouse and by key.
    QTRY_VERIFY(button(DeskAgent::START)->isEnabled());
    QVERIFY(button(DeskAgent::START)->isChecked());
    const QString running = textOf(outputs, row, "state");
    click(DeskAgent::STOP);
    QTRY_VERIFY(textOf(outputs, row, "state") != running);
    QVERIFY(button(DeskAgent::STOP)->isChecked());
    QVERIFY(!button(DeskAgent::START)->isChecked());
    QTRY_VERIFY(window->statusBar()->currentMessage().contains(QStringLiteral("Bogenoffset Halle 3")));
    QTest::keyClick(outputs, Qt::Key_F7);
    QTRY_COMPARE(textOf(outputs, row, "state"), running);
    QTRY_VERIFY(button(DeskAgent::START)->isChecked());

    // A job is held, and stays so through a refresh, as the choice does.
    QVERIFY(!button(DeskAgent::HOLD)->isEnabled());
    clickRow(jobs, 1);
    QTRY_VERIFY(button(DeskAgent::HOLD)->isEnabled());
    const bool wasHeld = button(DeskAgent::HOLD)->isChecked();
    const QString held = textOf(jobs, 1, "held");
    const auto *const fields = window->findChild<QTableWidget *>();
    QCOMPARE(fields->item(0, 1)->text(), ofOutput.at(1));
    click(DeskAgent::HOLD);
    QTRY_VERIFY(textOf(jobs, 1, "held") != held);
    QTest::keyClick(jobs, Qt::Key_F5);
    QTRY_VERIFY(!window->isLoading());
    QCOMPARE(jobs->currentRow(), 1);
    QTRY_COMPARE(button(DeskAgent::HOLD)->isChecked(), !wasHeld);

    click(DeskAgent::SHOW_PUBLICATIONS);
    QTRY_VERIFY(!window->isLoading() && jobs->proxy()->rowCount() > ofOutput.size());
    QCOMPARE(namesOf(jobs).at(jobs->currentRow()), ofOutput.at(1));
    photograph("jobs");
    click(DeskAgent::SHOW_PUBLICATIONS);
    QTRY_COMPARE(namesOf(jobs), ofOutput);

    auto *const tabs = window->findChild<QTabWidget *>();
    RecordPane *const books = pane("Books");
    tabs->setFocus();
    QTest::keyClick(tabs->focusWidget() ? tabs->focusWidget() : tabs, Qt::Key_Tab, Qt::ControlModifier);
    QTRY_VERIFY(pane("Publications")->isVisible() && pane("Publications")->proxy()->rowCount() > 0);
    photograph("publications");
    tabs->setCurrentWidget(books);
    QTRY_VERIFY(!window->isLoading() && books->proxy()->rowCount() > 0);
    const auto all = books->proxy()->rowCount();
    QTest::keyClick(books, Qt::Key_F, Qt::ControlModifier);
    auto *const search = window->findChild<QLineEdit *>();
    QTRY_VERIFY(search->hasFocus());
    QTest::keyClicks(search, QStringLiteral("kalender"));
    QTRY_VERIFY(books->proxy()->rowCount() > 0 && books->proxy()->rowCount() < all);
    for (const QString &name : namesOf(books))
        QVERIFY2(name.contains(QLatin1String("kalender"), Qt::CaseInsensitive), qPrintable(name));
    clickRow(books, 0);
    photograph("books");
    search->clear();
    QTRY_COMPARE(books->proxy()->rowCount(), all);
}

/** A menu that is open stays open, and the action under the pointer stays itself, through a thousand updates. */
void TestDesk::openMenu()
{
    QTRY_VERIFY(button(DeskAgent::START)->isEnabled());
    QAction *const title = window->menuBar()->actions().first();
    QTest::mouseClick(window->menuBar(), Qt::LeftButton, Qt::NoModifier,
                      window->menuBar()->actionGeometry(title).center());
    QMenu *const menu = title->menu();
    QTRY_VERIFY(menu->isVisible());
    const QList<QAction *> actions = menu->actions();
    QAction *const start = actions.at(DeskAgent::START - 1);
    const QRect place = menu->actionGeometry(start);
    for (int i = 8; i >= 0; --i) // a menu waits for several moves, since it may have opened under the pointer
        QTest::mouseMove(menu, place.center() + QPoint(2 * i, 0));
    QTRY_COMPARE(menu->activeAction(), start);
    const RecordPane *const outputs = pane("Outputs");
    const QString state = textOf(outputs, 0, "state");
    DeskAgent *const agent = window->deskAgent();
    for (int i = 0; i < 500; ++i) {
        agent->remove(DeskAgent::STOP, agent->getAgentID());
        agent->setJob(i % 2 == 0, i % 3 == 0);
        QCoreApplication::processEvents();
        XMLAction another(QString::number(i), 10 + i, i);
        agent->append(another);
        agent->remove(9 + i, i - 1);
        QCoreApplication::processEvents();
    }
    photograph("menu");
    QVERIFY(menu->isVisible());
    QCOMPARE(menu->actions(), actions);
    QCOMPARE(menu->activeAction(), start);
    QCOMPARE(menu->actionGeometry(start), place);
    QVERIFY(!actions.at(DeskAgent::STOP - 1)->isEnabled()); // which is gone
    QTest::mouseClick(menu, Qt::LeftButton, Qt::NoModifier, place.center());
    QTRY_VERIFY(textOf(outputs, 0, "state") != state);
    QTRY_VERIFY(!menu->actions().contains(actions.at(DeskAgent::STOP - 1)));
}

/** Who answers on a bus comes late and goes in the middle of an answer; another one goes on. */
void TestDesk::bus()
{
#ifdef ZQXML_WITH_BUS
    const auto pipe = std::make_shared<XMLPipe>();
    window.reset();
    store = std::make_unique<DeskStore>(std::make_unique<XMLPipeTransport>(pipe));
    window = std::make_unique<DeskWindow>(*store, QStringLiteral("bus"));
    const auto message = [this] { return window->statusBar()->currentMessage(); };
    for (int servers = 0; servers < 2; ++servers) {
        QTRY_COMPARE(message(), DeskWindow::tr("Nobody answers; waiting for a store"));
        QVERIFY(!window->isLoading());
        QString error;
        ZQCommServer server(ZQOpenSampleStore(&error));
        XMLRouter router(&server);
        XMLRecordServer recordServer(&server, &router, pageServerType);
        XMLGateway gateway(&router, std::make_unique<XMLPipeTransport>(pipe));
        gateway.exportAgent(recordServer.getAgentID());
        QTRY_COMPARE(message(), DeskWindow::tr("Refreshed"));
        QTRY_VERIFY(!window->isLoading());
        QCOMPARE(pane("Outputs")->proxy()->rowCount(), 24);
        Q_EMIT window->deskAgent()->refreshWanted();
        QVERIFY(window->isLoading());
    }
#endif
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    if (qEnvironmentVariableIsSet("ZQXML_PICTURES_DARK")) {
        QApplication::setStyle(QStringLiteral("Fusion"));
        QPalette dark(QColor(53, 53, 53), QColor(35, 35, 35));
        dark.setColor(QPalette::Highlight, QColor(42, 110, 180));
        dark.setColor(QPalette::HighlightedText, Qt::white);
        QApplication::setPalette(dark);
    }
    translateDesk();
    TestDesk test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_desk.moc"
