// Parcelo: one window over one AppModel for the life of the process.

#include <QDesktopServices>
#include <QDir>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QSettings>
#include <QUrl>
#include <QtQml/qqmlextensionplugin.h>

#include "AppEngine.h"
#include "AppModel.h"

Q_IMPORT_QML_PLUGIN(ParceloPlugin)

namespace {

// Files named on the command line are the files the desktop asked Parcelo to open.
QList<QUrl> launchFiles(const QStringList& arguments) {
    QList<QUrl> files;
    for (const QString& argument : arguments.mid(1)) files.append(QUrl::fromUserInput(argument, QDir::currentPath()));
    return files;
}

}  // namespace

int main(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Parcelo"));
    QGuiApplication::setApplicationName(QStringLiteral("Parcelo"));

    QSettings preferences;
    parcelo::AppModel model(&preferences);
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &model, &parcelo::AppModel::cleanUp);
    QObject::connect(&model, &parcelo::AppModel::openExternallyRequested, &model,
                     [](const QUrl& file) { QDesktopServices::openUrl(file); });

    QQmlApplicationEngine engine;
    parcelo::prepareEngine(engine, model);
    QObject::connect(&engine, &QQmlApplicationEngine::objectCreationFailed, &app,
                     [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
    engine.load(parcelo::kMainWindowUrl);

    const QList<QUrl> opened = launchFiles(QCoreApplication::arguments());
    if (!opened.isEmpty()) model.add(opened);
    return QGuiApplication::exec();
}
