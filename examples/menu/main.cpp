// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Another agent's user interface as a menu: a click goes to its owner, and what comes of it is shown.

#include <zqxml/xmlaction.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlview/xmluiagent.h>
#include <zqxmlview/xmluiowner.h>

#include <QApplication>
#include <QMenu>

#include <cstdio>

enum Type : int { QUEUE = 100, VIEW = 101, HOLD = 1 }; // of agents and of an action, the application's to choose

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    XMLRouter router(nullptr);

    XMLUIOwner queue(&router, QUEUE, QStringLiteral("Job")); // the other agent
    XMLAction hold(QStringLiteral("Hold"), HOLD, queue.getAgentID());
    queue.append(hold);
    QObject::connect(&queue, &XMLUIOwner::triggered, &queue, [&queue](int, XMLAction &clicked) {
        queue.change(HOLD, clicked.getOriginator(), [](XMLAction &own) { own.setName(QStringLiteral("Release")); });
    });

    QMenu menu;
    XMLUIAgent view(&router, VIEW); // these two lines show it
    view.binder()->addTo(&menu);
    queue.show(view.getAgentID());

    QObject::connect(view.binder()->model(), &XMLUIModel::updated, &menu, [&menu] {
        QAction *const action = menu.actions().first();
        std::puts(qUtf8Printable(action->text()));
        action->text() == QLatin1String("Hold") ? action->trigger() : QApplication::quit(); // as a click does
    });
    return QApplication::exec();
}
