// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef DESK_DESKWINDOW_H
#define DESK_DESKWINDOW_H

#include "deskagent.h"

#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlrecordserver.h>
#include <zqxmlkit/xmlrequester.h>
#include <zqxmlview/xmluiagent.h>

#include <QMainWindow>

class QLineEdit;
class QProgressBar;
class QTabWidget;
class QTableWidget;
class QTimer;
class QToolBar;
class QToolButton;
class RecordPane;
class ZQCommServer;

/** Makes the application speak the user's language, as far as there is a translation. */
void translateDesk();

/**
 * The desk of the print shop: outputs, their jobs, publications and books, and what can be done with them. It asks
 * agents for everything, and shows what its own agent offers.
 */
class DeskWindow : public QMainWindow
{
    Q_OBJECT

public:
    /** Shows the store behind \a server, which is not taken over; \a store is its name. */
    DeskWindow(ZQCommServer *server, const QString &store);
    ~DeskWindow() override;

    bool isLoading() const; ///< Returns whether something is being asked for.
    DeskAgent *deskAgent(); ///< Returns the agent that offers what can be done.

    /** Shows \a line in the status bar. */
    void showProblem(const QString &line);

protected:
    void changeEvent(QEvent *event) override;

private:
    QWidget *makeSearch();
    void makeWindow();
    void makeActions();
    void makeProgress();
    void setIcons();
    void ask(RecordPane *pane, int request, bool isRefresh);
    void askForJobs(bool isRefresh);
    void refresh();
    void showTab();
    void showOutput();
    void showFields();
    void showProgress(int done, int all);
    void switchOutput(bool running);
    void holdJob(bool held);
    QList<RecordPane *> panes() const;

    XMLRouter router;
    XMLRecordServer store;
    XMLRequester requester;
    DeskAgent agent;
    XMLUIAgent view;

    RecordPane *outputs = nullptr;
    RecordPane *jobs = nullptr;
    RecordPane *publications = nullptr;
    RecordPane *books = nullptr;
    QTabWidget *tabs = nullptr;
    QTableWidget *fields = nullptr;
    QLineEdit *search = nullptr;
    QTimer *searchTimer = nullptr;
    QProgressBar *progress = nullptr;
    QToolButton *cancel = nullptr;
    QTimer *progressTimer = nullptr;
    ZQKEY_ELEMENT output{0, 0}; // whose jobs are shown
    bool withPublications = false;
};

#endif
