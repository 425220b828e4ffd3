// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

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

void ImageItem::forgetCopy() {
    output.reset();
    outputBytes = 0;
    width = 0;
    height = 0;
    fileExtension.clear();
}

QString uuidText(const QUuid& id) { return id.toString(QUuid::WithoutBraces).toUpper(); }

}  // namespace parcelo
