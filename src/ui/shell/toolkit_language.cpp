#include "ui/shell/toolkit_language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

#include "base/localized.h"

namespace dravo::ui {

void setToolkitLanguage(QCoreApplication& application) {
    auto* const translator = new QTranslator(&application);
    const QString name = QStringLiteral("qtbase_") + QString::fromStdString(interfaceLocale().language);
    if (translator->load(name, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
}

}  // namespace dravo::ui
