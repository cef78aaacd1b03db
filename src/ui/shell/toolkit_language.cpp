#include "ui/shell/toolkit_language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <algorithm>
#include <array>
#include <string_view>

#include "ui/texts.h"

namespace dravo::ui {

namespace {

struct Row {
    std::string_view english;  ///< As the toolkit asks for it.
    TextKey key;
};

constexpr std::array<Row, 20> kRows{{
    {"Look in:", textKey("files.look_in", "Look in:")},
    {"File &name:", textKey("files.name_field", "File name:")},
    {"Files of type:", textKey("files.type_field", "Files of type:")},
    {"&Open", textKey("files.open", "Open")},
    {"&Save", textKey("Save")},
    {"Cancel", textKey("Cancel")},
    {"Back", textKey("files.back", "Back")},
    {"Forward", textKey("files.forward", "Forward")},
    {"Parent Directory", textKey("files.parent", "Parent Folder")},
    {"Create New Folder", textKey("files.new_folder", "New Folder")},
    {"List View", textKey("files.list", "List View")},
    {"Detail View", textKey("files.details", "Detail View")},
    {"Computer", textKey("files.computer", "Computer")},
    {"Name", textKey("files.name", "Name")},
    {"Size", textKey("files.size", "Size")},
    {"Type", textKey("files.type", "Type")},
    {"Date Modified", textKey("files.modified", "Date Modified")},
    {"%1 already exists.\nDo you want to replace it?",
     textKey("files.replace", "%@ already exists.\nDo you want to replace it?")},
    {"&Yes", textKey("Yes")},
    {"&No", textKey("No")},
}};

/// What its file dialog says, from our catalogues: the toolkit has no words for every language of ours.
class DialogTexts : public QTranslator {
public:
    using QTranslator::QTranslator;
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char* english, const char*, int) const override {
        const auto row = std::ranges::find(kRows, std::string_view(english), &Row::english);
        if (row == kRows.end()) return {};
        return text(row->key).replace(QLatin1String("%@"), QLatin1String("%1"));
    }
};

}  // namespace

void setToolkitLanguage(QCoreApplication& application) {
    auto* const translator = new QTranslator(&application);
    const QString name = QStringLiteral("qtbase_") + toQt(interfaceLocale().language);
    if (translator->load(name, QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(translator);
    } else {
        QCoreApplication::installTranslator(new DialogTexts(&application));
    }
}

}  // namespace dravo::ui
