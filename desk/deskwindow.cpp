// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "deskwindow.h"

#include "deskicons.h"
#include "recordpane.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlmessage.h>

#include <QApplication>
#include <QEvent>
#include <QHeaderView>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QMenuBar>
#include <QProgressBar>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTranslator>
#include <QVBoxLayout>

namespace {

constexpr int pageSize = 100; // takes less than 50 ms to take in
constexpr int bookPageSize = 10; // a book has hundreds of pages
constexpr int pageTime = 60000; // ms until a page is given up
constexpr int shortTime = 100; // ms for which nobody wants to see progress

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}

/** Returns \a widget below \a title, which leads to it by its shortcut. */
QWidget *titled(const QString &title, QWidget *widget)
{
    auto *const box = new QWidget;
    auto *const layout = new QVBoxLayout(box);
    layout->setContentsMargins(2, 4, 2, 0);
    auto *const label = new QLabel(title);
    label->setBuddy(widget);
    layout->addWidget(label);
    layout->addWidget(widget);
    return box;
}

} // namespace

#ifdef ZQXML_DESK_TRANSLATIONS
static void useTranslations() // outside of any namespace, as the macro wants it
{
    Q_INIT_RESOURCE(desk);
}
#else
static void useTranslations() { }
#endif

void translateDesk()
{
    useTranslations();
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
#else
    const QString folder = QLibraryInfo::location(QLibraryInfo::TranslationsPath);
#endif
    const struct {
        const char *name;
        QString folder;
    } files[] = {{"qtbase", folder}, {"zqxml-desk", QStringLiteral(":/desk")}};
    for (const auto &file : files) {
        auto *const translator = new QTranslator(qApp);
        if (translator->load(QLocale(), QLatin1String(file.name), QStringLiteral("_"), file.folder))
            QCoreApplication::installTranslator(translator);
    }
}

DeskWindow::DeskWindow(DeskStore &deskStore, const QString &name)
    : store(deskStore), requester(store.router()), agent(store.router()), view(store.router(), DeskAgent::VIEW)
{
    setWindowTitle(tr("Print shop – %1").arg(name));
    setWindowIcon(QIcon::fromTheme(QStringLiteral("zqxml-desk")));
    makeWindow();
    makeActions();
    makeProgress();
    resize(fontMetrics().averageCharWidth() * 150, fontMetrics().height() * 42);
    connect(&store, &DeskStore::problem, this, &DeskWindow::showProblem);
    connect(&store, &DeskStore::serverCame, this, [this] {
        if (isMissed)
            refresh();
    });
    ask(outputs);
    outputs->setFocus();
}

DeskWindow::~DeskWindow()
{
    // They end what they have asked for, which is the requester's.
    for (RecordPane *const pane : panes()) {
        pane->records()->disconnect(this);
        pane->records()->clear();
        pane->disconnect(this);
    }
}

QList<RecordPane *> DeskWindow::panes() const
{
    return {outputs, jobs, publications, books};
}

void DeskWindow::makeWindow()
{
    outputs = new RecordPane(tr("Outputs"), words("name state jobs speed resolution id key"), 3);
    outputs->setMinimumWidth(fontMetrics().averageCharWidth() * 42);
    const QStringList jobFields =
        words("name page publication priority copies arrived held bytes paper format bleed scale rotation trimBox inks "
              "coverage spots ranges chunks queue output id key publicationID publicationKey");
    jobs = new RecordPane(tr("Jobs"), jobFields, 7);
    publications = new RecordPane(tr("Publications"), words("publication name arrived key publicationKey id"), 3);
    books = new RecordPane(tr("Books"), words("name pages copies balance signature keywords id key publication"), 4);

    tabs = new QTabWidget;
    tabs->setDocumentMode(true);
    tabs->addTab(jobs, tr("&Jobs"));
    tabs->addTab(publications, tr("&Publications"));
    tabs->addTab(books, tr("&Books"));
    fields = new QTableWidget(0, 2);
    fields->setAccessibleName(tr("Fields of the record"));
    fields->setHorizontalHeaderLabels({tr("Field"), tr("Value")});
    fields->setEditTriggers(QAbstractItemView::NoEditTriggers);
    fields->setTabKeyNavigation(false);
    fields->setShowGrid(false);
    fields->setWordWrap(false);
    fields->verticalHeader()->hide();
    fields->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 3 / 2);
    fields->horizontalHeader()->setStretchLastSection(true);
    fields->setColumnWidth(0, fontMetrics().averageCharWidth() * 32);

    auto *const right = new QSplitter(Qt::Vertical);
    right->addWidget(tabs);
    right->addWidget(titled(tr("&Fields"), fields));
    right->setStretchFactor(0, 2);
    right->setStretchFactor(1, 1);
    auto *const all = new QSplitter;
    all->addWidget(titled(tr("&Outputs"), outputs));
    all->addWidget(right);
    all->setStretchFactor(0, 2);
    all->setStretchFactor(1, 4);
    setCentralWidget(all);

    connect(outputs, &RecordPane::currentChangedAtAll, this, &DeskWindow::showOutput);
    connect(tabs, &QTabWidget::currentChanged, this, &DeskWindow::showTab);
    for (RecordPane *const pane : {jobs, publications, books})
        connect(pane, &RecordPane::currentChangedAtAll, this, &DeskWindow::showFields);
}

void DeskWindow::makeActions()
{
    XMLUIBinder *const binder = view.binder();
    binder->addExclusiveGroup({DeskAgent::START, DeskAgent::STOP});
    binder->setStatusBar(statusBar());
    QMenu *const menu = menuBar()->addMenu(tr("&Desk"));
    QToolBar *const toolBar = addToolBar(tr("Desk"));
    toolBar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    toolBar->setMovable(false);
    toolBar->setContextMenuPolicy(Qt::PreventContextMenu);
    binder->addTo(menu);
    binder->addTo(toolBar);
    setIcons();
    menu->addSeparator();
    QAction *const quit = menu->addAction(tr("&Quit"), this, &QWidget::close);
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    QToolBar *const searchBar = addToolBar(tr("Search"));
    searchBar->setMovable(false);
    searchBar->setContextMenuPolicy(Qt::PreventContextMenu);
    searchBar->addWidget(makeSearch());

    agent.show(view.getAgentID());
    connect(&agent, &DeskAgent::refreshWanted, this, &DeskWindow::refresh);
    connect(&agent, &DeskAgent::publicationsWanted, this, [this](bool shown) {
        withPublications = shown;
        ask(jobs);
    });
    connect(&agent, &DeskAgent::outputSwitched, this, &DeskWindow::switchOutput);
    connect(&agent, &DeskAgent::jobHeld, this, &DeskWindow::holdJob);
}

QWidget *DeskWindow::makeSearch()
{
    search = new QLineEdit;
    search->setPlaceholderText(tr("Search names (Ctrl+F)"));
    search->setAccessibleName(tr("Search names"));
    search->setClearButtonEnabled(true);
    search->setMinimumWidth(fontMetrics().averageCharWidth() * 26);
    searchTimer = new QTimer(this);
    searchTimer->setSingleShot(true);
    searchTimer->setInterval(150);
    connect(search, &QLineEdit::textChanged, searchTimer, [this] { searchTimer->start(); });
    connect(searchTimer, &QTimer::timeout, this, [this] {
        for (RecordPane *const pane : {jobs, publications, books})
            pane->proxy()->setSearch(search->text());
        showFields();
    });
    auto *const find = new QAction(this);
    find->setShortcut(QKeySequence::Find);
    connect(find, &QAction::triggered, search, [this] { search->setFocus(Qt::ShortcutFocusReason); });
    addAction(find);
    return search;
}

void DeskWindow::makeProgress()
{
    progress = new QProgressBar;
    progress->setAccessibleName(tr("Progress"));
    progress->setMaximumWidth(fontMetrics().averageCharWidth() * 30);
    cancel = new QToolButton;
    cancel->setText(tr("Cancel"));
    cancel->setShortcut(QKeySequence(Qt::Key_Escape));
    cancel->setAutoRaise(true);
    statusBar()->addPermanentWidget(progress);
    statusBar()->addPermanentWidget(cancel);
    progress->hide();
    cancel->hide();
    progressTimer = new QTimer(this);
    progressTimer->setSingleShot(true);
    progressTimer->setInterval(shortTime);
    connect(progressTimer, &QTimer::timeout, this, [this] {
        progress->setVisible(isLoading());
        cancel->setVisible(isLoading());
        if (isMissed)
            statusBar()->showMessage(tr("Nobody answers; waiting for a store"));
    });
    for (RecordPane *const pane : panes()) {
        connect(pane->records(), &XMLRecordModel::progress, this, &DeskWindow::showProgress);
        connect(cancel, &QToolButton::clicked, pane->records(), &XMLRecordModel::cancel);
        connect(pane->records(), &XMLRecordModel::loaded, this,
                [this, pane](XMLMailbox::State state) { takeEnd(pane, state); });
    }
}

void DeskWindow::takeEnd(RecordPane *pane, XMLMailbox::State state)
{
    if (state == XMLMailbox::AgentGone)
        ask(pane); // somebody else
    else if (state == XMLMailbox::Cancelled)
        statusBar()->showMessage(tr("Cancelled"));
    else if (state != XMLMailbox::Answered)
        statusBar()->showMessage(tr("The store does not answer"));
    if (pane == outputs && outputs->currentRow() < 0)
        outputs->selectRow(0);
    if (isLoading())
        return;
    if (!isMissed)
        progressTimer->stop();
    progress->hide();
    cancel->hide();
}

void DeskWindow::setIcons()
{
    const struct {
        int type;
        QKeySequence shortcut;
    } templates[] = {{DeskAgent::REFRESH, QKeySequence(Qt::Key_F5)},
                     {DeskAgent::SHOW_PUBLICATIONS, QKeySequence(Qt::Key_F6)},
                     {DeskAgent::START, QKeySequence(Qt::Key_F7)},
                     {DeskAgent::STOP, QKeySequence(Qt::Key_F8)},
                     {DeskAgent::HOLD, QKeySequence(Qt::Key_F9)}};
    for (const auto &each : templates)
        view.binder()->setTemplate(each.type, deskIcon(each.type, palette()), each.shortcut);
    // The style's own arrows are black on dark palettes too.
    for (QToolButton *const button : findChildren<QToolButton *>(QStringLiteral("qt_toolbar_ext_button")))
        button->setIcon(deskIcon(moreIcon, palette()));
}

void DeskWindow::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        setIcons();
    QMainWindow::changeEvent(event);
}

bool DeskWindow::isLoading() const
{
    const QList<RecordPane *> all = panes();
    return std::any_of(all.begin(), all.end(), [](const RecordPane *pane) { return pane->records()->isLoading(); });
}

DeskAgent *DeskWindow::deskAgent()
{
    return &agent;
}

void DeskWindow::showProblem(const QString &line)
{
    statusBar()->showMessage(isMissed ? tr("Nobody answers: %1").arg(line) : line);
}

int DeskWindow::requestOf(const RecordPane *pane) const
{
    return pane == outputs ? XMLCommServer::REQUEST_OUTPUTS
        : pane == jobs     ? XMLCommServer::REQUEST_JOBS
        : pane == books    ? XMLCommServer::REQUEST_BOOKS
                           : XMLCommServer::REQUEST_PUBLICATIONS;
}

/** Asks for what the pane shows, again if it shows something. */
void DeskWindow::ask(RecordPane *pane)
{
    XMLAction action;
    action.setType(requestOf(pane));
    if (pane == jobs) {
        if (output.key == 0 && output.hkey == 0)
            return;
        XMLRequester::setKeys(action, {output});
        action.setExcludePublications(!withPublications);
    }
    progressTimer->start();
    const int server = store.server();
    isMissed = server == 0;
    if (isMissed)
        return;
    const int size = pane == books ? bookPageSize : pageSize;
    pane->records()->refresh(requester.pages(server, action, size, pageTime));
    progress->setRange(0, 0);
}

void DeskWindow::refresh()
{
    ask(outputs);
    ask(jobs);
    for (RecordPane *const pane : {publications, books}) {
        if (pane->isVisible() || pane->records()->rowCount() > 0)
            ask(pane);
    }
    if (!isMissed)
        statusBar()->showMessage(tr("Refreshed"), 3000);
}

void DeskWindow::showTab()
{
    const auto pane = qobject_cast<RecordPane *>(tabs->currentWidget());
    const bool isEmpty = pane->records()->rowCount() == 0 && !pane->records()->isLoading();
    if (isEmpty && pane != jobs)
        ask(pane);
    showFields();
}

void DeskWindow::showOutput()
{
    const int row = outputs->currentRow();
    agent.setOutput(row >= 0, row >= 0 && outputs->proxy()->state(row, QStringLiteral("state")) == 1);
    const ZQKEY_ELEMENT chosen = row < 0 ? ZQKEY_ELEMENT{0, 0} : outputs->proxy()->keyOf(row);
    if (chosen.key == output.key && chosen.hkey == output.hkey)
        return;
    output = chosen;
    jobs->records()->clear();
    ask(jobs);
}

void DeskWindow::showFields()
{
    const auto pane = qobject_cast<RecordPane *>(tabs->currentWidget());
    const bool isJob = pane == jobs && jobs->currentRow() >= 0;
    agent.setJob(isJob, isJob && jobs->proxy()->state(jobs->currentRow(), QStringLiteral("held")) == 1);
    const QList<QPair<QString, QString>> texts = pane->fieldsOfCurrent();
    fields->setRowCount(static_cast<int>(texts.size()));
    for (int row = 0; row < texts.size(); ++row) {
        fields->setItem(row, 0, new QTableWidgetItem(texts.at(row).first));
        fields->setItem(row, 1, new QTableWidgetItem(texts.at(row).second));
    }
}

void DeskWindow::showProgress(int done, int all)
{
    progress->setRange(0, done < all ? all : 0); // nobody knows how many records of the last are still to come
    progress->setValue(done);
}

void DeskWindow::switchOutput(bool running)
{
    const int row = outputs->currentRow();
    if (row < 0)
        return;
    const QString name = outputs->proxy()->index(row, 0).data().toString();
    outputs->proxy()->setState(outputs->proxy()->keyOf(row), QStringLiteral("state"), running ? 1 : 0);
    agent.send(view.getAgentID(), XMLMessage(running ? tr("%1 is running").arg(name) : tr("%1 is stopped").arg(name)));
}

void DeskWindow::holdJob(bool held)
{
    const int row = jobs->currentRow();
    if (row < 0)
        return;
    const QString name = jobs->proxy()->index(row, 0).data().toString();
    jobs->proxy()->setState(jobs->proxy()->keyOf(row), QStringLiteral("held"), held ? 1 : 0);
    agent.send(view.getAgentID(), XMLMessage(held ? tr("%1 is held").arg(name) : tr("%1 is let go").arg(name)));
}
