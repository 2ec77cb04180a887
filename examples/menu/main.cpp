// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Another agent's user interface as a menu: its owner offers it, the view shows it, and a click comes back.

#include <zqxml/xmlaction.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlview/xmluiagent.h>
#include <zqxmlview/xmluiowner.h>

#include <QApplication>
#include <QMenu>

#include <cstdio>

enum AgentType : int { QUEUE = 100, VIEW = 101 };
enum ActionType : int { HOLD = 1, PROOF = 2 }; // the application's to choose

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    XMLRouter router(nullptr);

    XMLUIOwner queue(&router, QUEUE, QStringLiteral("Job")); // the other agent
    const int id = queue.getAgentID();
    XMLAction hold(QStringLiteral("Hold"), HOLD, id);
    hold.setCheckable(true);
    XMLAction proof(QStringLiteral("Print a proof"), PROOF, id);
    queue.append(hold);
    queue.append(proof);
    QObject::connect(&queue, &XMLUIOwner::triggered, &queue, [&queue, id](int, XMLAction &clicked) {
        const bool held = clicked.isChecked();
        std::printf("queue: type %d, checked %d\n", clicked.getType(), held);
        queue.change(HOLD, id, [held](XMLAction &action) { action.setChecked(held); });
        queue.change(PROOF, id, [held](XMLAction &action) { action.setVisible(!held); }); // what is held has no proof
    });

    QMenu menu;
    XMLUIAgent view(&router, VIEW); // these two lines show it
    view.binder()->addTo(&menu);
    queue.show(view.getAgentID());

    QObject::connect(view.binder()->model(), &XMLUIModel::updated, &menu, [&menu, updates = 0]() mutable {
        for (const QAction *action : menu.actions()) {
            if (action->isVisible())
                std::printf("menu: %s%s\n", qUtf8Printable(action->text()), action->isChecked() ? ", checked" : "");
        }
        if (++updates == 1)
            menu.actions().first()->trigger(); // what a click does
        else
            QApplication::quit();
    });
    return QApplication::exec();
}
