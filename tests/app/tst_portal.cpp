// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The desktop's own file chooser, reached through a real xdg-desktop-portal in a private D-Bus
// session: the portal hands each request to this test, which stands in for the desktop's dialog,
// records what it was asked and answers with the user's choice.

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QtTest>

#include "AppTestSupport.h"
#include "FileChooser.h"

using namespace parcelo;
using namespace parcelo::test;
using namespace Qt::StringLiterals;

namespace {

// The desktop's dialog, as the portal's backend interface sees it: it answers each request with
// `answer` and the locations in `choice`, and keeps what it was asked.
class ChooserBackend : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.impl.portal.FileChooser")

public:
    explicit ChooserBackend(QObject* parent) : QDBusAbstractAdaptor(parent) {}

    uint answer = 0;
    QStringList choice;
    QString title;
    QVariantMap options;

public slots:
    uint OpenFile(const QDBusObjectPath&, const QString&, const QString&, const QString& asked, const QVariantMap& given,
                  QVariantMap& results) {
        title = asked;
        options = given;
        results.insert(u"uris"_s, choice);
        return answer;
    }
};

// What the desktop's dialog answers for these paths.
QStringList uris(const QStringList& paths) {
    QStringList answer;
    for (const QUrl& url : urls(paths)) answer.append(url.toString());
    return answer;
}

// The signature of an option as it travelled, "b" for a Boolean, "a(sa(us))" for filters.
QString signatureOf(const QVariant& option) {
    if (option.canConvert<QDBusArgument>()) return option.value<QDBusArgument>().currentSignature();
    return QString::fromLatin1(QDBusMetaType::typeToSignature(option.metaType()));
}

}  // namespace

class PortalTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY2(QDBusConnection::sessionBus().isConnected(), "the test runs in a private D-Bus session");
        QVERIFY(QDBusConnection::sessionBus().registerObject(u"/org/freedesktop/portal/desktop"_s, &desktop_));
        QVERIFY(QDBusConnection::sessionBus().registerService(u"org.freedesktop.impl.portal.desktop.parcelotest"_s));
    }

    // Several images, several folders and the folder to save into, each chosen in the desktop's
    // dialog: the request says what may be picked, and what the user picked reaches the batch.
    // Cancelling adds nothing; with no portal on the bus the view is asked for Qt's own dialog.
    void theDesktopsChooserAddsAndSaves() {
        ModelSandbox sandbox;
        AppModel& model = sandbox.model();
        FileChooser chooser(model);
        const QStringList images = makeImages(sandbox.file(u"loose"_s), 2);
        makeImages(sandbox.file(u"album/inner"_s), 3);

        backend_->choice = uris(images);
        QVERIFY(choose(chooser, FileChooser::Purpose::AddImages));
        QCOMPARE(backend_->title, u"Choose images or folders"_s);
        QCOMPARE(backend_->options.value(u"multiple"_s), QVariant(true));
        QVERIFY(!backend_->options.contains(u"directory"_s));
        QCOMPARE(signatureOf(backend_->options.value(u"filters"_s)), u"a(sa(us))"_s);
        QCOMPARE(model.items().size(), 2U);
        QVERIFY(thumbnailsDone(model));

        backend_->choice = uris({sandbox.file(u"album"_s)});
        QVERIFY(choose(chooser, FileChooser::Purpose::AddFolders));
        QCOMPARE(backend_->options.value(u"directory"_s), QVariant(true));
        QCOMPARE(backend_->options.value(u"multiple"_s), QVariant(true));
        QVERIFY(scanDone(model));
        QCOMPARE(model.items().size(), 5U);
        QCOMPARE(model.messageText(), u"Added 3 images, including subfolders."_s);

        backend_->answer = 1;  // the user cancels
        backend_->choice = uris({sandbox.file(u"loose"_s)});
        QVERIFY(choose(chooser, FileChooser::Purpose::AddFolders));
        QVERIFY(!model.scanning());
        QCOMPARE(model.items().size(), 5U);

        QVERIFY(thumbnailsDone(model));
        QVERIFY(runFit(model));
        backend_->answer = 0;
        backend_->choice = uris({sandbox.path(u"files"_s)});
        QVERIFY(choose(chooser, FileChooser::Purpose::SaveFolder));
        QCOMPARE(backend_->title, u"Save fitted copies"_s);
        QCOMPARE(backend_->options.value(u"directory"_s), QVariant(true));
        QCOMPARE(backend_->options.value(u"accept_label"_s), QVariant(u"Save here"_s));
        QVERIFY(!backend_->options.contains(u"multiple"_s));
        QVERIFY(waitUntil(model, &AppModel::exportingChanged, [&] { return !model.exporting(); }));
        QCOMPARE(QDir(sandbox.path(u"files"_s)).entryList({u"*-parcelo*"_s}).size(), 5);

        chooser.setPortalService(u"org.freedesktop.portal.Nowhere"_s);
        QSignalSpy fallback(&chooser, &FileChooser::fallbackRequested);
        chooser.choose(FileChooser::Purpose::AddImages);
        QVERIFY(fallback.wait(20'000));
        QCOMPARE(fallback.constFirst().constFirst().value<FileChooser::Purpose>(), FileChooser::Purpose::AddImages);
    }

private:
    // Asks through the portal and waits until the backend's answer has come back to the chooser.
    static bool choose(FileChooser& chooser, FileChooser::Purpose purpose) {
        QSignalSpy answered(&chooser, &FileChooser::portalAnswered);
        chooser.choose(purpose);
        return answered.wait(20'000);
    }

    QObject desktop_;
    ChooserBackend* backend_ = new ChooserBackend(&desktop_);
};

QTEST_GUILESS_MAIN(PortalTest)
#include "tst_portal.moc"
