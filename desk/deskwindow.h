// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef DESK_DESKWINDOW_H
#define DESK_DESKWINDOW_H

#include "deskagent.h"
#include "deskstore.h"

#include <recordlib/zqlib.h>
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
    /** Shows what \a deskStore answers, which is not taken over and goes after the window; \a name is shown too. */
    DeskWindow(DeskStore &deskStore, const QString &name);
    ~DeskWindow() override;

    bool isLoading() const; ///< Returns whether something is being asked for.
    DeskAgent *deskAgent(); ///< Returns the agent that offers what can be done.

protected:
    void changeEvent(QEvent *event) override;

private:
    QWidget *makeSearch();
    void makeWindow();
    void makeActions();
    void makeProgress();
    void setIcons();
    int requestOf(const RecordPane *pane) const;
    void ask(RecordPane *pane);
    void takeEnd(RecordPane *pane, XMLMailbox::State state);
    void refresh();
    void showProblem(const QString &line);
    void showTab();
    void showOutput();
    void showFields();
    void showProgress(int done, int all);
    void switchOutput(bool running);
    void holdJob(bool held);
    QList<RecordPane *> panes() const;

    DeskStore &store;
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
    bool isMissed = false; // the store was to be asked while there was none
};

#endif
