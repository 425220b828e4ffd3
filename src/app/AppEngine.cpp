#include "AppEngine.h"

#include <mutex>

#include <QJSEngine>

#include "AppLinks.h"

namespace parcelo {

namespace {

constexpr const char* kModelProperty = "parceloAppModel";

// The singleton is registered once per process; each engine answers with its own model, so
// tests can load views over a fresh model without the registrations of earlier engines.
QObject* modelOfEngine(QQmlEngine* engine, QJSEngine*) {
    auto* model = engine->property(kModelProperty).value<QObject*>();
    if (model) QJSEngine::setObjectOwnership(model, QJSEngine::CppOwnership);
    return model;
}

}  // namespace

void prepareEngine(QQmlEngine& engine, AppModel& model) {
    static std::once_flag registered;
    std::call_once(registered, [] {
        qmlRegisterSingletonType<AppModel>("Parcelo.Model", 1, 0, "AppModel", modelOfEngine);
        qmlRegisterSingletonType<AppLinks>("Parcelo.Model", 1, 0, "AppLinks",
                                           [](QQmlEngine*, QJSEngine*) -> QObject* { return new AppLinks; });
    });
    engine.setProperty(kModelProperty, QVariant::fromValue<QObject*>(&model));
    engine.addImageProvider(QStringLiteral("thumbnails"), model.makeThumbnailProvider());
    // Qt 6.4 has no default import path for modules built into the resources.
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
}

}  // namespace parcelo
