// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Measures what is shown on a screen beside the obvious way to show it: user interfaces of 1,000 actions, and replies
// of 100,000 records. Prints a table of ratios with goals. Needs 2 GB; runs without a screen with
// QT_QPA_PLATFORM=offscreen. Under callgrind, what user interfaces cost is counted, for bench/table.py.

#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlui.h>
#include <zqxmlkit/xmlwire.h>
#include <zqxmlview/xmlrecordmodel.h>
#include <zqxmlview/xmluibinder.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QMenu>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QTableView>

#include <malloc.h>
#include <valgrind/callgrind.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int actionCount = 1000;
constexpr int recordCount = 100000;

/** Returns the median of the milliseconds that \a call takes. */
double timeOf(int repetitions, const std::function<void()> &call)
{
    std::vector<double> times;
    for (int i = 0; i < repetitions; ++i) {
        QElapsedTimer timer;
        timer.start();
        call();
        times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
    }
    std::nth_element(times.begin(), times.begin() + repetitions / 2, times.end());
    return times[static_cast<std::size_t>(repetitions / 2)];
}

/** Counts \a call under callgrind, as \a name; else returns the median of the milliseconds that it takes. */
double measure(const std::string &name, int repetitions, const std::function<void()> &call)
{
    if (!RUNNING_ON_VALGRIND)
        return timeOf(repetitions, call);
    const std::string title = name + "/1000 1";
    call();
    CALLGRIND_ZERO_STATS;
    call();
    CALLGRIND_DUMP_STATS_AT(title.c_str());
    return 1;
}

/** Returns the bytes that are allocated. */
double heap()
{
    const auto info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

void print(const char *what, double goal, double ours, double beside, const char *unit)
{
    const double ratio = ours / beside;
    std::printf("%-52s <= %-5g %8.3f %-6s %10.3f / %.3f %s\n", what, goal, ratio, ratio <= goal ? "holds" : "MISSES",
                ours, beside, unit);
}

std::unique_ptr<XMLUI> makeUI(int changed)
{
    auto ui = std::make_unique<XMLUI>(QStringLiteral("menu"));
    for (int i = 0; i < actionCount; ++i) {
        XMLAction action(QStringLiteral("Action %1").arg(i == 500 ? changed : i), i, 7);
        action.setCheckable(i % 2 == 0);
        action.setEnabled(true);
        ui->append(action);
    }
    return ui;
}

void rebuild(QMenu &menu, XMLUI &ui)
{
    menu.clear();
    QList<XMLAction *> actions;
    ui.getActions(actions);
    for (const XMLAction *each : std::as_const(actions)) {
        QAction *const action = menu.addAction(each->getName(), &menu, [] {});
        action->setCheckable(each->isCheckable());
        action->setEnabled(each->isEnabled());
        action->setVisible(each->getVisible());
    }
    qDeleteAll(actions);
}

void measureActions()
{
    const std::unique_ptr<XMLUI> uis[] = {makeUI(5000), makeUI(6000)};
    QMenu menu;
    XMLUIBinder binder;
    binder.addTo(&menu);
    binder.setUI(*uis[1]);
    int turn = 0;
    const double update = measure("actionUpdate/ours", 101, [&] { binder.setUI(*uis[turn++ % 2]); });
    QMenu other;
    const double anew = measure("actionUpdate/plain", 31, [&] { rebuild(other, *uis[turn++ % 2]); });
    print("update of 1 of 1,000 actions: of rebuilding", 0.05, update, anew, "ms");

    std::vector<std::unique_ptr<QMenu>> menus; // destroyed when nothing is measured
    std::vector<std::unique_ptr<XMLUIBinder>> made;
    const auto freshMenu = [&menus] { return menus.emplace_back(std::make_unique<QMenu>()).get(); };
    const double first = measure("actionsFirst/ours", 31, [&] {
        auto fresh = std::make_unique<XMLUIBinder>();
        fresh->addTo(freshMenu());
        fresh->setUI(*uis[0]);
        made.push_back(std::move(fresh));
    });
    const double byHand = measure("actionsFirst/plain", 31, [&] {
        QMenu *const fresh = freshMenu();
        for (int i = 0; i < actionCount; ++i) {
            QAction *const action = fresh->addAction(QStringLiteral("Action %1").arg(i), fresh, [] {});
            action->setCheckable(i % 2 == 0);
            action->setToolTip(action->text());
        }
    });
    print("1,000 actions, first time: of making QActions", 2, first, byHand, "ms");
}

QByteArray makeReply()
{
    XMLPacket packet;
    for (int i = 0; i < recordCount; ++i) {
        const QString number = QString::number(i);
        QStringList lines{QStringLiteral("SI 8"), QStringLiteral("1 Reserve 100 % Grau ") + number,
                          QStringLiteral("2 %1 7").arg(i + 1, 0, 16), QStringLiteral("7 ") + number,
                          QStringLiteral("TI 0")};
        XMLPacketable record;
        QDomElement node = record.getNode();
        record.setType(DBLIST_ENTRY_TYPE);
        XMLPacketable::toDom(node, lines, 0);
        packet.appendV(record);
    }
    return XMLWire::toWire(packet);
}

/** Returns the milliseconds that it takes to show some rows of a model, a page after the other. */
double scroll(QTableView &view, QAbstractItemModel &model, int first, int count)
{
    view.setModel(&model);
    view.viewport()->grab();
    return timeOf(1, [&view, first, count] {
        const int page = view.viewport()->height() / view.rowHeight(0);
        for (int row = first; row < first + count; row += page) {
            view.verticalScrollBar()->setValue(row);
            view.viewport()->grab();
        }
    });
}

void measureRecords()
{
    const QByteArray wire = makeReply();
    const double before = heap();
    std::unique_ptr<XMLPacket> packet;
    const double parsing = timeOf(1, [&] { packet = XMLWire::toPacket(wire); });
    XMLRecordModel model;
    QTableView view;
    view.resize(800, 600);
    view.setModel(&model);
    view.show();
    QCoreApplication::processEvents();
    model.setColumns({QStringLiteral("name"), QStringLiteral("key"), QStringLiteral("jobs")});
    const double showing = timeOf(1, [&] {
        model.setRecords(std::move(packet));
        view.viewport()->grab();
    });
    print("100,000 records, until rows show: of parsing", 0.05, showing, parsing, "ms");
    double longest = 0;
    while (model.isLoading())
        longest = std::max(longest, timeOf(1, [] { QCoreApplication::processEvents(); }));
    malloc_trim(0);
    const double ours = heap() - before;

    const double beforeStandard = heap();
    QStandardItemModel standard(recordCount, model.columnCount());
    for (int row = 0; row < recordCount; ++row) {
        for (int column = 0; column < model.columnCount(); ++column) {
            const QString text = model.index(row, column).data().toString();
            standard.setItem(row, column, new QStandardItem(QString(text.constData(), text.size())));
        }
    }
    const double plain = heap() - beforeStandard;
    double ourScroll = 0;
    double standardScroll = 0;
    constexpr int slice = recordCount / 20;
    for (int first = 0; first < recordCount; first += slice) { // in turns, so that what disturbs one disturbs both
        ourScroll += scroll(view, model, first, slice);
        standardScroll += scroll(view, standard, first, slice);
    }
    print("scrolling 100,000: of a QStandardItemModel", 1, ourScroll, standardScroll, "ms");
    print("memory of 100,000: of a QStandardItemModel", 0.6, ours / 1e6, plain / 1e6, "MB");
    std::printf("longest turn of the event loop while converting: %.1f ms\n", longest);
}

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    measureActions();
    if (!RUNNING_ON_VALGRIND)
        measureRecords();
    return 0;
}
