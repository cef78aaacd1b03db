#include "ui/views/preset_files.h"

#include <QDir>
#include <QFileDialog>

#include "base/files.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

constexpr std::size_t kMostBytes = 4 * 1024 * 1024;

void ask(QWidget* panel, const QString& title, QFileDialog::AcceptMode mode,
         std::function<void(const std::filesystem::path&)> onChosen) {
    // Not the desktop's own: that would load a second toolkit.
    auto* const dialog = new QFileDialog(panel, title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    // Beside a picture, the toolkit cuts short words that are written from right to left.
    dialog->setStyleSheet(QStringLiteral("* { dialogbuttonbox-buttons-have-icons: 0; }"));
    dialog->setNameFilters({text("Presets (*.json)"), text("All files (*)")});
    dialog->setDefaultSuffix(QStringLiteral("json"));
    dialog->setDirectory(QDir::homePath());
    dialog->setAcceptMode(mode);
    dialog->setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    QObject::connect(dialog, &QFileDialog::fileSelected, panel, [chosen = std::move(onChosen)](const QString& file) {
        chosen(QFile::encodeName(file).toStdString());
    });
    dialog->open();
}

}  // namespace

void askForPresetsToRead(QWidget* panel, std::function<void(const Result<std::string>&)> onRead) {
    ask(panel, text("Import Presets"), QFileDialog::AcceptOpen,
        [read = std::move(onRead)](const std::filesystem::path& path) { read(readFile(path, kMostBytes)); });
}

void askForFileToWrite(QWidget* panel, const std::string& text, std::function<void(const Error&)> onError) {
    ask(panel, ui::text("Export Presets"), QFileDialog::AcceptSave,
        [text, failed = std::move(onError)](const std::filesystem::path& path) {
            const auto written = writeFileAtomically(path, text, {.mode = 0644});
            if (!written) failed(written.error());
        });
}

}  // namespace dravo::ui
