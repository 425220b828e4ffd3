// The application shell: files opened from the desktop, one instance per session, the menus,
// the dialogs, and the working folder that goes when Parcelo ends however it ends.

#include <csignal>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QDesktopServices>
#include <QFileSystemWatcher>
#include <QProcess>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>
#include <QtTest>

#include "AppLinks.h"
#include "ParceloApp.h"
#include "ViewTestSupport.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

using namespace parcelo;
using namespace parcelo::test;

namespace {

// Every warning printed while it lives, from Qt, QML or a library, so a test can demand none.
class WarningCollector {
public:
    WarningCollector() {
        active = this;
        previous_ = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
            if (type != QtDebugMsg && type != QtInfoMsg) active->warnings_.append(text);
        });
    }
    ~WarningCollector() {
        qInstallMessageHandler(previous_);
        active = nullptr;
    }
    WarningCollector(const WarningCollector&) = delete;
    WarningCollector& operator=(const WarningCollector&) = delete;
    [[nodiscard]] QString text() const { return warnings_.join(QLatin1Char('\n')); }

private:
    static inline WarningCollector* active = nullptr;
    QtMessageHandler previous_;
    QStringList warnings_;
};

// Receives what Parcelo opens "in the browser or mail application".
class OpenedUrls : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public slots:
    void open(const QUrl& url) { urls.append(url); }
};

QStringList sourcesOf(const AppModel& model) {
    QStringList sources;
    for (const auto& item : model.items()) sources.append(item.source);
    return sources;
}

QStringList workingFolders(const QString& temp) {
    return QDir(temp).entryList({QStringLiteral("Parcelo-*")}, QDir::Dirs | QDir::NoDotAndDotDot);
}

// Leaves a socket file with no one behind it, as an instance that crashed does.
void leaveStaleSocket(const QString& path) {
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    QVERIFY(descriptor >= 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray encoded = QFile::encodeName(path);
    QVERIFY(static_cast<std::size_t>(encoded.size()) < sizeof(address.sun_path));
    std::memcpy(address.sun_path, encoded.constData(), static_cast<std::size_t>(encoded.size()));
    QCOMPARE(::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ::close(descriptor);
    QVERIFY(QFileInfo::exists(path));
}

// The session a launched Parcelo sees: its own temporary, runtime and preferences folders.
QProcessEnvironment sessionOf(const ModelSandbox& sandbox, const QString& temp) {
    QFile::setPermissions(sandbox.path(QStringLiteral("runtime")), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("TMPDIR"), temp);
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), sandbox.path(QStringLiteral("runtime")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), sandbox.path(QStringLiteral("config")));
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

}  // namespace

class ShellTest : public QObject {
    Q_OBJECT

private slots:
    // Requests before the content is shown wait and go to the model in one add; a request after
    // that is its own add. Paths are local files relative to the launching folder, found or not.
    void openedFilesFollowTheBufferAndFlushRules() {
        ModelSandbox sandbox;
        const QString launchFolder = sandbox.path(QStringLiteral("files"));
        makeImages(launchFolder + QStringLiteral("/album"), 2);
        makeImages(launchFolder, 1, 5);
        AppDelegate delegate;
        delegate.openFiles({QStringLiteral("album")}, launchFolder);
        delegate.openFiles({QStringLiteral("img5.png"), QString()}, launchFolder);
        QCOMPARE(delegate.pendingFiles(),
                 urls({launchFolder + QStringLiteral("/album"), launchFolder + QStringLiteral("/img5.png")}));

        AppModel& model = sandbox.model();
        delegate.setModel(&model);
        QVERIFY(delegate.pendingFiles().isEmpty());
        // Two adds would have refused the file while the folder was being expanded.
        QVERIFY(scanDone(model));
        QCOMPARE(model.messageText(), QStringLiteral("Added 3 images, including subfolders."));
        QCOMPARE(model.items().size(), 3u);
        QVERIFY(thumbnailsDone(model));

        delegate.openFiles({QStringLiteral("missing.jpg"), QStringLiteral("sub/photo 1.jpg")}, launchFolder);
        QVERIFY(delegate.pendingFiles().isEmpty());
        QCOMPARE(sourcesOf(model).mid(3), QStringList({launchFolder + QStringLiteral("/missing.jpg"),
                                                       launchFolder + QStringLiteral("/sub/photo 1.jpg")}));
        QVERIFY(thumbnailsDone(model));
        for (const auto& item : std::vector(model.items().begin() + 3, model.items().end())) {
            QVERIFY(item.failed);
            QCOMPARE(item.state, kUnreadable);
        }
        delegate.setModel(&model);
        QCOMPARE(model.items().size(), 5u);
    }

    // A launch with files, a second launch from another folder while a dead socket lies about,
    // and closing the window: one batch of both launches' files, and no working folder after.
    void launchesShareOneWindowAndClosingItQuits() {
        ModelSandbox sandbox;
        for (const auto* folder : {"runtime", "config", "second", "secondTemp"}) QDir(sandbox.path({})).mkpath(QString::fromLatin1(folder));
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(sandbox.path(QStringLiteral("runtime"))));
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(sandbox.path(QStringLiteral("config"))));
        leaveStaleSocket(SingleInstance::serverName());
        const QString first = sandbox.path(QStringLiteral("files"));
        const QString second = sandbox.path(QStringLiteral("second"));
        makeImages(first, 3);
        makeImages(second, 1, 7);
        const QString launchedFrom = QDir::currentPath();
        QVERIFY(QDir::setCurrent(first));

        ParceloApp parcelo;
        QVERIFY(parcelo.start({QStringLiteral("img2.png"), QStringLiteral("img0.png"), QStringLiteral("img1.png")}));
        QVERIFY(QDir::setCurrent(launchedFrom));
        AppModel& model = *parcelo.model();
        QCOMPARE(parcelo.delegate().pendingFiles().size(), 3);
        QVERIFY(model.items().empty());
        QVERIFY(waitUntil(model, &AppModel::itemsChanged, [&] { return model.items().size() == 3; }));
        QCOMPARE(sourcesOf(model), QStringList({first + QStringLiteral("/img2.png"), first + QStringLiteral("/img0.png"),
                                                first + QStringLiteral("/img1.png")}));
        QVERIFY(thumbnailsDone(model));

        QProcess secondLaunch;
        secondLaunch.setWorkingDirectory(second);
        secondLaunch.setProcessEnvironment(sessionOf(sandbox, sandbox.path(QStringLiteral("secondTemp"))));
        secondLaunch.start(QStringLiteral(PARCELO_APP_BINARY), {QStringLiteral("img7.png"), QStringLiteral("gone.jpg")});
        QVERIFY(finished(secondLaunch));
        QCOMPARE(secondLaunch.exitStatus(), QProcess::NormalExit);
        QCOMPARE(secondLaunch.exitCode(), 0);
        QVERIFY(workingFolders(sandbox.path(QStringLiteral("secondTemp"))).isEmpty());
        QCOMPARE(sourcesOf(model).mid(3), QStringList({second + QStringLiteral("/img7.png"), second + QStringLiteral("/gone.jpg")}));

        const QString cache = model.cache();
        QVERIFY(QFileInfo(cache).isDir());
        QMetaObject::invokeMethod(parcelo.window(), &QWindow::close, Qt::QueuedConnection);
        QCOMPARE(QCoreApplication::exec(), 0);
        QVERIFY2(!QFileInfo::exists(cache), qPrintable(cache));
        qunsetenv("XDG_RUNTIME_DIR");
        qunsetenv("XDG_CONFIG_HOME");
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
        const QString temp = sandbox.path(QStringLiteral("appTemp"));
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
        WarningCollector warnings;
        ViewHarness view(sandbox.model());
        QVERIFY2(view.loaded(), qPrintable(view.errors()));
        AppModel& model = sandbox.model();
        auto* window = view.window();
        QCOMPARE(window->size(), QSize(900, 640));
        QCOMPARE(window->minimumSize(), QSize(860, 600));
        auto* root = view.root();
        const auto enabled = [root](const char* name) {
            auto* action = root->findChild<QObject*>(QString::fromLatin1(name));
            return action ? action->property("enabled").toBool() : false;
        };
        const auto offered = [&] {
            return QList<bool>{enabled("addAction"), enabled("fitAction"), enabled("saveAction")};
        };
        QVERIFY(root->findChild<QObject*>(QStringLiteral("addAction")));
        QCOMPARE(offered(), QList<bool>({true, false, false}));

        QVERIFY(addAndLoad(model, makeImages(sandbox.file(QStringLiteral("batch")), 2)));
        QCOMPARE(offered(), QList<bool>({true, true, false}));
        setExactSides(model, QString(), QString());
        QCOMPARE(offered(), QList<bool>({true, false, false}));
        model.setExactPixels(false);

        window->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QTest::keyClick(window, Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(model.busy());
        QCOMPARE(offered(), QList<bool>({false, false, false}));
        QVERIFY(runDone(model));
        QCOMPARE(model.readyCount(), 2);
        QCOMPARE(offered(), QList<bool>({true, false, true}));
        model.exportTo(QUrl::fromLocalFile(sandbox.path(QStringLiteral("files"))));
        QCOMPARE(offered(), QList<bool>({false, false, true}));
        QVERIFY(waitUntil(model, &AppModel::exportingChanged, [&] { return !model.exporting(); }));

        QSignalSpy chooseAsked(&model, &AppModel::chooseFilesRequested);
        QSignalSpy saveAsked(&model, &AppModel::exportFolderRequested);
        for (const auto& [key, dialogName, spy] :
             {std::tuple{Qt::Key_O, "chooseFilesDialog", &chooseAsked}, std::tuple{Qt::Key_S, "exportFolderDialog", &saveAsked}}) {
            QTest::keyClick(window, key, Qt::ControlModifier);
            QCOMPARE(spy->size(), 1);
            auto* dialog = root->findChild<QObject*>(QString::fromLatin1(dialogName));
            QVERIFY(dialog);
            QVERIFY(becomes(dialog, "visible"));
            view.screenshot(QString::fromLatin1(dialogName));
            QVERIFY(QMetaObject::invokeMethod(dialog, "reject"));
        }

        OpenedUrls opened;
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &opened, "open");
        QDesktopServices::setUrlHandler(QStringLiteral("mailto"), &opened, "open");
        for (const auto* name : {"helpAction", "supportAction", "websiteAction", "aboutAction"})
            QVERIFY(QMetaObject::invokeMethod(root->findChild<QObject*>(QString::fromLatin1(name)), "trigger"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("mailto"));
        QCOMPARE(opened.urls, QList<QUrl>({AppLinks::help(), AppLinks::support(), AppLinks::website()}));
        QCOMPARE(AppLinks::support().toEncoded(), QByteArray("mailto:support@parcelo.app?subject=Parcelo%20support"));
        QVERIFY(becomes(root->findChild<QObject*>(QStringLiteral("aboutDialog")), "opened"));
        view.screenshot(QStringLiteral("about"));

        QVERIFY2(view.errors().isEmpty(), qPrintable(view.errors()));
        QVERIFY2(warnings.text().isEmpty(), qPrintable(warnings.text()));
    }
};

QTEST_MAIN(ShellTest)
#include "tst_shell.moc"
