#include "ImageItem.h"

#include <QFileInfo>

#include "BatchTexts.h"

namespace parcelo {

ImageItem ImageItem::make(const QString& source) {
    ImageItem item;
    item.id = QUuid::createUuid();
    item.source = source;
    item.state = BatchTexts::ready;
    return item;
}

QString ImageItem::fileName() const { return QFileInfo(source).fileName(); }

QString uuidText(const QUuid& id) { return id.toString(QUuid::WithoutBraces).toUpper(); }

}  // namespace parcelo
