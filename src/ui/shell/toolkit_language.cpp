#include "ui/shell/toolkit_language.h"

#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

#include "base/localized.h"

namespace dravo::ui {

void setToolkitLanguage(QCoreApplication& application) {
    const QLocale locale(QString::fromStdString(interfaceLocale().language));
    QLocale::setDefault(locale);
    QGuiApplication::setLayoutDirection(locale.textDirection());
    auto* const translator = new QTranslator(&application);
    const QString name = QStringLiteral("qtbase_") + QString::fromStdString(interfaceLocale().language);
    if (translator->load(name, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(translator);
}

}  // namespace dravo::ui
