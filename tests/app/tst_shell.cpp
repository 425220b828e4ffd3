// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The application shell: files opened from the desktop, one instance per session, the menus,
// the dialogs, and the working folder that goes when Parcelo ends however it ends.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>

#include <QDataStream>
#include <QFileSystemWatcher>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QQuickWindow>
#include <QStandardPaths>
#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "AppLinks.h"
#include "FolderBrowser.h"
#include "ParceloApp.h"
#include "SingleInstance.h"
#include "ViewTestSupport.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

using namespace parcelo;
using namespace parcelo::test;
using namespace Qt::StringLiterals;

namespace {

QStringList workingFolders(const QString& temp) {
    return QDir(temp).entryList({u"Parcelo-*"_s}, QDir::Dirs | QDir::NoDotAndDotDot | QDir::CaseSensitive);
}

// The session a launched Parcelo sees: its own temporary, runtime and preferences folders.
QProcessEnvironment sessionOf(const ModelSandbox& sandbox, const QString& temp) {
    QFile::setPermissions(sandbox.path(u"runtime"_s), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    environment.insert(u"TMPDIR"_s, temp);
    environment.insert(u"XDG_RUNTIME_DIR"_s, sandbox.path(u"runtime"_s));
    environment.insert(u"XDG_CONFIG_HOME"_s, sandbox.path(u"config"_s));
    return environment;
}

// Runs the event loop until the object's Boolean property holds.
bool becomes(QObject* object, const char* property) {
    if (!object) return false;
    const QMetaObject* meta = object->metaObject();
    QSignalSpy changed(object, meta->property(meta->indexOfProperty(property)).notifySignal());
    while (!object->property(property).toBool())
        if (!changed.wait(10'000)) return false;
    return true;
}

bool finished(QProcess& process) {
    if (process.state() == QProcess::NotRunning) return true;
    QSignalSpy ended(&process, &QProcess::finished);
    return ended.wait(60'000);
}

// Another user of the machine: neither root nor the user running the test.
constexpr uid_t kStranger = 54321;

// Runs the stranger helper as that user, from a copy in `folder`, where that user may run it.
void startStranger(QProcess& stranger, const QString& folder, const QStringList& arguments) {
    const QString copy = QDir(folder).filePath(u"stranger"_s);
    QFile::copy(QStringLiteral(PARCELO_STRANGER_BINARY), copy);
    ::chmod(QFile::encodeName(copy).constData(), 0755);
    const QString id = QString::number(kStranger);
    stranger.start(u"setpriv"_s, QStringList{u"--reuid="_s + id, u"--regid="_s + id, u"--clear-groups"_s, copy} + arguments);
}

}  // namespace

class ShellTest : public QObject {
    Q_OBJECT

private slots:
    // A launch with files, a second launch from another folder, and closing the window: one batch
    // of both launches' files, and no working folder after. Paths are local files relative to the
    // launching folder, found or not. What arrives before the content is shown waits and goes to
    // the model in one add (two would have refused the file while the folder was being expanded);
    // what arrives after is an add of its own.
    void launchesShareOneWindowAndClosingItQuits() {
        ModelSandbox sandbox;
        for (const auto* folder : {"runtime", "config", "second", "secondTemp"}) QDir(sandbox.path({})).mkpath(QString::fromLatin1(folder));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(sandbox.path(u"runtime"_s)));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(sandbox.path(u"config"_s)));
        const QString first = sandbox.path(u"files"_s);
        const QString second = sandbox.path(u"second"_s);
        makeImages(first + u"/album"_s, 2);
        makeImages(first, 1, 5);
        makeImages(second, 1, 7);
        const QProcessEnvironment secondSession = sessionOf(sandbox, sandbox.path(u"secondTemp"_s));
        const QString launchedFrom = QDir::currentPath();
        QVERIFY(QDir::setCurrent(first));

        applyApplicationLook();  // as the program does before it starts
        ParceloApp parcelo;
        QVERIFY(parcelo.start({u"album"_s, QString(), u"img5.png"_s}));
        QVERIFY(QDir::setCurrent(launchedFrom));
        // What Qt keeps for Parcelo is in one folder, ~/.cache/Parcelo.
        QCOMPARE(QStandardPaths::writableLocation(QStandardPaths::CacheLocation),
                 QDir(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)).filePath(u"Parcelo"_s));
        AppModel& model = *parcelo.model();
        QCOMPARE(parcelo.delegate().pendingFiles(), urls({first + u"/album"_s, first + u"/img5.png"_s}));
        QVERIFY(model.items().empty());
        QVERIFY(waitUntil(model, &AppModel::itemsChanged, [&] { return model.items().size() == 3; }));
        QCOMPARE(model.messageText(), u"Added 3 images, including subfolders."_s);
        QVERIFY(thumbnailsDone(model));

        QProcess secondLaunch;
        secondLaunch.setWorkingDirectory(second);
        secondLaunch.setProcessEnvironment(secondSession);
        secondLaunch.start(QStringLiteral(PARCELO_APP_BINARY), {u"img7.png"_s, u"gone.jpg"_s});
        QVERIFY(finished(secondLaunch));
        QCOMPARE(secondLaunch.exitStatus(), QProcess::NormalExit);
        QCOMPARE(secondLaunch.exitCode(), 0);
        QVERIFY(workingFolders(sandbox.path(u"secondTemp"_s)).isEmpty());
        QStringList sources;
        for (const auto& item : model.items()) sources.append(item.source);
        QCOMPARE(sources.mid(3), QStringList({second + u"/img7.png"_s, second + u"/gone.jpg"_s}));

        const QString cache = model.cache();
        QVERIFY(QFileInfo(cache).isDir());
        // File ▸ Quit (Ctrl+Q) ends Parcelo as closing the window does.
        parcelo.window()->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(parcelo.window()));
        QMetaObject::invokeMethod(parcelo.window(), [&parcelo] { QTest::keyClick(parcelo.window(), Qt::Key_Q, Qt::ControlModifier); },
                                  Qt::QueuedConnection);
        QCOMPARE(QCoreApplication::exec(), 0);
        QVERIFY2(!QFileInfo::exists(cache), qPrintable(cache));
        qunsetenv("XDG_RUNTIME_DIR");
        qunsetenv("XDG_CONFIG_HOME");
    }

    // Caches an earlier Parcelo kept one folder deeper move up; where both places have one, the
    // newer stays.
    void anOlderCacheMovesUpOneFolder() {
        ModelSandbox sandbox;
        const QString cache = sandbox.path(u"cache"_s);
        for (const auto* folder : {"Parcelo/moved", "Parcelo/both/old", "both/new"})
            QVERIFY(QDir(cache).mkpath(QString::fromLatin1(folder)));
        moveOldCacheUp(cache);
        QVERIFY(QFileInfo(cache + u"/moved"_s).isDir());
        QVERIFY(!QFileInfo::exists(cache + u"/Parcelo"_s));
        QCOMPARE(QDir(cache + u"/both"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList({u"new"_s}));
    }

    // Two launches at once both find no instance and both listen: the later one must leave the
    // live instance its socket, or the files of every later launch would bypass its window. A
    // socket nobody answers on, left by a crash, is taken over.
    void aLiveInstanceKeepsItsSocketAndALeftOverOneIsTakenOver() {
        ModelSandbox sandbox;
        const QString name = sandbox.path(u"parcelo.socket"_s);
        {
            SingleInstance live, late;
            QVERIFY(live.listen(name));
            QVERIFY(!late.listen(name));
            QSignalSpy received(&live, &SingleInstance::filesReceived);
            QLocalSocket launch;
            launch.connectToServer(name);
            QDataStream out(&launch);
            out << QStringList{u"/photos/a.jpg"_s};
            QVERIFY(received.wait(10'000));
        }
        sockaddr_un address{AF_UNIX, {}};
        qstrncpy(address.sun_path, QFile::encodeName(name).constData(), sizeof address.sun_path);
        const int crashed = ::socket(AF_UNIX, SOCK_STREAM, 0);
        QCOMPARE(::bind(crashed, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::close(crashed);  // the file stays, and nobody answers on it
        QVERIFY(SingleInstance().listen(name));
    }

    // Without a runtime folder (a shell of `su` or `sudo -u`, cron), the socket lives in a private
    // folder in the shared temporary folder, where anyone may take a name first. Another user
    // listens at the old name, in the private folder's place and in their runtime folder, which
    // a shell of `su` keeps: no launch sends them anything, the first opens its window and the
    // second still reaches it. Nor does an instance answer another user's launch.
    void anotherUserGetsNoFileNamesAndCannotTakeTheInstance() {
        if (::geteuid() != 0) QSKIP("Acting as another user takes root: another user's sockets were NOT tried");
        ModelSandbox sandbox;
        for (const auto* folder : {"config", "shared"}) QDir(sandbox.path({})).mkpath(QString::fromLatin1(folder));
        const QString shared = sandbox.path(u"shared"_s), uid = QString::number(::geteuid());
        ::chmod(QFile::encodeName(sandbox.path({})).constData(), 0711);
        ::chmod(QFile::encodeName(shared).constData(), 01777);  // as the temporary folder is
        const QString takenFolder = shared + u"/parcelo-"_s + uid, theirRuntime = shared + u"/runtime-%1"_s.arg(kStranger);
        const QStringList squatted{shared + u"/parcelo-"_s + uid + u".socket"_s, takenFolder + u"/parcelo.socket"_s,
                                   theirRuntime + u"/parcelo.socket"_s};
        QProcess stranger;
        startStranger(stranger, sandbox.path({}), QStringList{u"listen"_s} + squatted);
        QVERIFY2(stranger.waitForReadyRead(60'000), stranger.readAllStandardError().constData());
        QCOMPARE(stranger.readAll(), QByteArray("listening\n"));

        QProcessEnvironment session = sessionOf(sandbox, shared);
        session.remove(u"XDG_RUNTIME_DIR"_s);
        QFileSystemWatcher watcher({shared});
        QSignalSpy sharedChanged(&watcher, &QFileSystemWatcher::directoryChanged);
        QProcess first, second;
        first.setProcessEnvironment(session);
        first.start(QStringLiteral(PARCELO_APP_BINARY), {sandbox.file(u"passport-scan.jpg"_s)});
        while (workingFolders(shared).isEmpty()) QVERIFY2(sharedChanged.wait(60'000), "the first launch showed no window");
        session.insert(u"XDG_RUNTIME_DIR"_s, theirRuntime);
        second.setProcessEnvironment(session);
        second.start(QStringLiteral(PARCELO_APP_BINARY), {sandbox.file(u"medical-form.png"_s)});
        QVERIFY(finished(second));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);  // it handed its file to the first
        QCOMPARE(workingFolders(shared).size(), 1);
        QCOMPARE(::kill(static_cast<pid_t>(first.processId()), SIGTERM), 0);
        QVERIFY(finished(first));
        QCOMPARE(first.exitCode(), 0);
        // Each launch says once that it leaves the taken folder alone, and which one it uses; the
        // first says nothing else (the toolkit has its runtime folder too).
        const QString refusal = u"Parcelo doesn’t use %1, which isn’t this user’s alone; it uses %1-\\w{6} instead\\n"_s
                                    .arg(QRegularExpression::escape(takenFolder));
        const QString firstSaid = QString::fromUtf8(first.readAllStandardError());
        QVERIFY2(QRegularExpression(u"\\A"_s + refusal + u"\\z"_s).match(firstSaid).hasMatch(), qPrintable(firstSaid));
        const QString secondSaid = QString::fromUtf8(second.readAllStandardError());
        QCOMPARE(secondSaid.count(QRegularExpression(refusal)), 1);

        // Handed another user's socket by name, a launch sends nothing.
        QVERIFY(!SingleInstance::forward({u"/home/me/passport-scan.jpg"_s}, squatted[0]));
        stranger.closeWriteChannel();
        QVERIFY(finished(stranger));
        QCOMPARE(stranger.readAll(), QByteArray("1 connections, 0 bytes\n0 connections, 0 bytes\n0 connections, 0 bytes\n"));

        // An instance whose socket another user can reach drops their connection unanswered.
        SingleInstance instance;
        const QString reachable = shared + u"/reachable.socket"_s;
        QVERIFY(instance.listen(reachable));
        ::chmod(QFile::encodeName(reachable).constData(), 0777);
        QSignalSpy received(&instance, &SingleInstance::filesReceived);
        QProcess launch;
        startStranger(launch, sandbox.path({}), {u"send"_s, reachable});
        QDataStream message(&launch);
        message << QStringList{u"/home/them/photo.jpg"_s};
        launch.closeWriteChannel();
        QVERIFY(finished(launch));
        QCOMPARE(launch.readAll(), QByteArray("answered 0 bytes\n"));
        QCOMPARE(received.count(), 0);
    }

    // A logout (SIGTERM), Ctrl+C or a closed terminal ends Parcelo as closing its window does.
    void quitSignalsRemoveTheWorkingFolder_data() {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void quitSignalsRemoveTheWorkingFolder() {
        QFETCH(int, signal);
        ModelSandbox sandbox;
        for (const auto* folder : {"runtime", "config", "appTemp"}) QDir(sandbox.path({})).mkpath(QString::fromLatin1(folder));
        const QString temp = sandbox.path(u"appTemp"_s);
        QFileSystemWatcher watcher({temp});
        QSignalSpy tempChanged(&watcher, &QFileSystemWatcher::directoryChanged);
        QProcess parcelo;
        parcelo.setProcessEnvironment(sessionOf(sandbox, temp));
        parcelo.setProcessChannelMode(QProcess::MergedChannels);
        parcelo.start(QStringLiteral(PARCELO_APP_BINARY), {});
        QVERIFY(parcelo.waitForStarted());
        while (workingFolders(temp).isEmpty()) QVERIFY2(tempChanged.wait(60'000), "no working folder appeared");
        QCOMPARE(::kill(static_cast<pid_t>(parcelo.processId()), signal), 0);
        QVERIFY(finished(parcelo));
        QCOMPARE(parcelo.exitStatus(), QProcess::NormalExit);
        QCOMPARE(parcelo.exitCode(), 0);
        QCOMPARE(workingFolders(temp), QStringList());
        QCOMPARE(QString::fromLocal8Bit(parcelo.readAll()), QString());
    }

    // The File commands are offered exactly when the model would act on them; the shortcuts
    // reach the model and its dialogs open without a warning; Help opens the outside addresses.
    void menusFollowTheModelAndOpenTheirDialogs() {
        ModelSandbox sandbox;
        ViewHarness view(sandbox.model());
        QVERIFY2(view.loaded(), qPrintable(view.loadError()));
        view.screenshot(u"window-initial"_s);
        AppModel& model = sandbox.model();
        auto* window = view.window();
        QCOMPARE(window->title(), u"Parcelo"_s);
        // The workspace itself gets 900 × 640, and at least 860 × 600, below the menu bar.
        view.settle();
        QCOMPARE(view.find(u"contentView"_s)->size(), QSizeF(900, 640));
        QCOMPARE(window->minimumSize() - window->size(), QSize(860, 600) - QSize(900, 640));
        const auto offered = [&view] {
            return QList<bool>{view.enabled(u"addAction"_s), view.enabled(u"fitAction"_s), view.enabled(u"saveAction"_s)};
        };
        QCOMPARE(offered(), QList<bool>({true, false, false}));

        QVERIFY(addAndLoad(model, makeImages(sandbox.file(u"batch"_s), 2)));
        QCOMPARE(offered(), QList<bool>({true, true, false}));
        setExactSides(model, QString(), QString());
        QCOMPARE(offered(), QList<bool>({true, false, false}));
        model.requirements().setExactPixels(false);

        // Two tiny images may be fitted before the key press returns: what the menus offer is
        // read the moment the run starts.
        QList<bool> offeredWhileBusy;
        const auto started = connect(&model, &AppModel::busyChanged, this, [&] {
            if (model.busy()) offeredWhileBusy = offered();
        });
        view.activate();
        QTest::keyClick(window, Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(runDone(model));
        disconnect(started);
        QCOMPARE(offeredWhileBusy, QList<bool>({false, false, false}));
        QCOMPARE(model.readyCount(), 2);
        QCOMPARE(offered(), QList<bool>({true, false, true}));
        model.exportTo(QUrl::fromLocalFile(sandbox.path(u"files"_s)));
        QCOMPARE(offered(), QList<bool>({false, false, true}));  // Save stays in the menu; a second request is ignored
        QVERIFY(waitUntil(model, &AppModel::exportingChanged, [&] { return !model.exporting(); }));

        // Without the desktop's chooser (no D-Bus session here) Parcelo's own opens. It saves into
        // the folder it shows, unless the user picks a subfolder or makes one; it adds several
        // images and folders at once, or the folder shown when nothing is selected.
        const QString shown = sandbox.path(u"shown"_s);
        makeImages(shown + u"/sub"_s, 2, 10);
        auto* chooser = view.find<QObject>(u"chooserDialog"_s);
        auto* browser = chooser->property("browser").value<FolderBrowser*>();
        const auto openChooser = [&](Qt::Key key, Qt::KeyboardModifiers modifiers) {
            QTest::keyClick(window, key, modifiers);
            return becomes(chooser, "opened");
        };
        const auto entry = [&view](const QString& name) { return view.find(u"chooserEntry "_s + name); };
        const auto click = [&](QQuickItem* item, Qt::KeyboardModifiers modifiers = {}, bool twice = false) {
            QVERIFY2(item, "no such entry");
            view.settle();
            const QPoint at = item->mapToScene({item->width() / 2, 8}).toPoint();
            twice ? QTest::mouseDClick(window, Qt::LeftButton, modifiers, at) : QTest::mouseClick(window, Qt::LeftButton, modifiers, at);
        };
        const auto save = [&] {
            view.click(view.find(u"chooserAccept"_s));
            return waitUntil(model, &AppModel::exportingChanged, [&] { return !model.exporting(); });
        };
        QVERIFY(openChooser(Qt::Key_S, Qt::ControlModifier));
        browser->setFolder(QUrl::fromLocalFile(sandbox.path({})));
        click(entry(u"shown"_s), {}, true);
        click(entry(u"sub"_s));
        QCOMPARE(view.text(u"chooserChoice"_s), u"Copies are saved in “sub”."_s);
        QQuickItem* entries = view.find(u"chooserEntries"_s);
        QTest::mouseClick(window, Qt::LeftButton, {}, entries->mapToScene({entries->width() / 2, entries->height() - 8}).toPoint());
        QCOMPARE(view.text(u"chooserAccept"_s), u"Save here"_s);
        view.screenshot(u"chooser-save"_s);
        QVERIFY(save());
        QCOMPARE(QDir(shown).entryList(QDir::Files).size(), 2);
        QCOMPARE(QDir(shown + u"/sub"_s).entryList(QDir::Files).size(), 2);
        QVERIFY(openChooser(Qt::Key_S, Qt::ControlModifier));
        view.click(view.find(u"chooserNewFolder"_s));
        view.type(view.find(u"chooserFolderName"_s), u"made"_s);
        QTest::keyClick(window, Qt::Key_Return);
        QCOMPARE(view.text(u"chooserChoice"_s), u"Copies are saved in “made”."_s);
        QVERIFY(save());
        QCOMPARE(QDir(shown + u"/made"_s).entryList(QDir::Files).size(), 2);

        const QStringList saved = QDir(shown).entryList(QDir::Files, QDir::Name);
        QVERIFY(openChooser(Qt::Key_O, Qt::ControlModifier));
        QCOMPARE(view.text(u"chooserAccept"_s), u"Add Folder"_s);
        click(entry(saved[0]));
        click(entry(saved[1]), Qt::ShiftModifier);
        click(entry(u"sub"_s), Qt::ControlModifier);
        QCOMPARE(view.text(u"chooserChoice"_s), u"2 images and 1 folder selected."_s);
        view.screenshot(u"chooser-add"_s);
        view.click(view.find(u"chooserAccept"_s));
        QVERIFY(scanDone(model));
        QCOMPARE(model.items().size(), 6U);
        // From the keyboard, with the folder chooser of File ▸ Add Folder…: into the first
        // folder, and back out with it as the folder shown.
        QVERIFY(openChooser(Qt::Key_O, Qt::ControlModifier | Qt::ShiftModifier));
        QTest::keyClick(window, Qt::Key_Down);
        QTest::keyClick(window, Qt::Key_Return);
        QCOMPARE(browser->folder(), QUrl::fromLocalFile(shown + u"/made"_s));
        QTest::keyClick(window, Qt::Key_Return);
        QVERIFY(scanDone(model));
        QCOMPARE(model.items().size(), 8U);
        QVERIFY(thumbnailsDone(model));

        // Escape closes a menu and leaves no title highlighted; menus draw in Parcelo's colours.
        auto* fileMenu = view.find<QObject>(u"fileMenu"_s);
        auto* menuBar = view.find<QObject>(u"menuBar"_s);
        QQuickItem* fileTitle = nullptr;
        QVERIFY(QMetaObject::invokeMethod(menuBar, "itemAt", Q_RETURN_ARG(QQuickItem*, fileTitle), Q_ARG(int, 0)));
        view.click(fileTitle);
        QVERIFY(becomes(fileMenu, "opened"));
        QVERIFY(fileTitle->property("highlighted").toBool());
        view.screenshot(u"menu-file"_s);
        QTest::keyClick(window, Qt::Key_Escape);
        QTest::mouseMove(window, {window->width() / 2, window->height() / 2});
        QSignalSpy unhighlighted(fileTitle, SIGNAL(highlightedChanged()));
        QVERIFY(!fileTitle->property("highlighted").toBool() || unhighlighted.wait(5'000));
        QVERIFY(!fileMenu->property("visible").toBool());
        // Resting the mouse on a control shows its hover help.
        QQuickItem* plus = view.find(u"plusButton"_s);
        QTest::mouseMove(window, plus->mapToScene({plus->width() / 2, plus->height() / 2}).toPoint());
        QVERIFY(becomes(view.find<QObject>(u"plusHelp"_s), "opened"));
        view.screenshot(u"hover-help"_s);

        OpenedUrls opened({u"https"_s, u"mailto"_s});
        for (const auto* name : {"helpAction", "supportAction", "websiteAction", "aboutAction"})
            QVERIFY(QMetaObject::invokeMethod(view.find<QObject>(QLatin1String(name)), "trigger"));
        QCOMPARE(opened.urls, QList<QUrl>({AppLinks::help(), AppLinks::support(), AppLinks::website()}));
        QCOMPARE(AppLinks::support().toEncoded(), QByteArray("mailto:support@parcelo.app?subject=Parcelo%20support"));
        QVERIFY(becomes(view.find<QObject>(u"aboutDialog"_s), "opened"));
        view.screenshot(u"about"_s);

    }
};

QTEST_MAIN(ShellTest)
#include "tst_shell.moc"
