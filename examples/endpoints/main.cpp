// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Two agents, a menu from a user interface, and a table of jobs.

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlrouter.h>
#include <zqxml/xmlui.h>
#include <zqxmlkit/xmlendpoint.h>
#include <zqxmlkit/xmlrequester.h>

#include <QCoreApplication>

#include <cstdio>
#include <utility>

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    ZQCommServer server(ZQOpenSampleStore(nullptr));
    XMLRouter router(&server);
    XMLEndpoint shop(&router, 100);
    XMLEndpoint window(&router, 101);
    XMLRequester requester(&router);

    // The window shows a menu, and sends the action that was chosen back.
    QObject::connect(&window, &XMLEndpoint::uiReceived, [&window](int from, XMLUI &ui) {
        QList<XMLAction *> actions;
        ui.getActions(actions);
        for (const XMLAction *const action : std::as_const(actions))
            std::printf("menu: %s\n", qUtf8Printable(action->getName()));
        window.send(from, *actions.constFirst());
        qDeleteAll(actions);
    });

    // The shop answers a choice with a table of jobs.
    QObject::connect(&shop, &XMLEndpoint::actionReceived, [&requester](int, XMLAction &action) {
        std::printf("chosen: %s\n", qUtf8Printable(action.getName()));
        XMLReply *const reply = requester.requestJobs();
        QObject::connect(reply, &XMLReply::finished, [reply] {
            for (const XMLRecord &job : reply->records())
                std::printf("%4d copies, %s\n", job.value("copies").toInt(), qUtf8Printable(job.name()));
            QCoreApplication::quit();
        });
    });

    XMLUI menu(QStringLiteral("Shop"));
    XMLAction jobs(QStringLiteral("Jobs"), 1, shop.getAgentID());
    XMLAction quit(QStringLiteral("Quit"), 2, shop.getAgentID());
    menu.append(jobs);
    menu.append(quit);
    shop.send(window.getAgentID(), menu);
    return QCoreApplication::exec();
}
