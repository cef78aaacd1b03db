#include "ui/shell/toolkit_language.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QTreeView>

#include "ui/in_language.h"

namespace dravo::testing {
namespace {

/// What a file dialog of the toolkit's shows, without the names of files.
QStringList dialogTexts() {
    QFileDialog dialog;
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    QStringList texts;
    for (const auto* const label : dialog.findChildren<QLabel*>()) texts += label->text();
    for (const auto* const button : dialog.findChildren<QAbstractButton*>())
        texts << button->text() << button->toolTip();
    const auto* const columns = dialog.findChild<QTreeView*>()->model();
    for (int i = 0; i < columns->columnCount(); ++i) texts += columns->headerData(i, Qt::Horizontal).toString();
    texts.removeAll(QString());
    return texts;
}

TEST(ToolkitLanguageTest, FileDialogSpeaksALanguageThatTheToolkitHasNoWordsFor) {
    const QStringList english = dialogTexts();
    ASSERT_GT(english.size(), 10);
    const InLanguage kazakh(AppLanguage::kazakh);
    ui::setToolkitLanguage(*qApp);
    for (const QString& text : dialogTexts()) EXPECT_FALSE(english.contains(text)) << text.toStdString();
    const QString question = QFileDialog::tr("%1 already exists.\nDo you want to replace it?").arg("a.json");
    EXPECT_TRUE(question.startsWith("a.json ")) << question.toStdString();
}

TEST(PercentTextTest, IsWholeSignedWhereAskedAndInTheLanguagesForm) {
    using ui::percentText;
    EXPECT_EQ(percentText(0.8, false), QString("80%"));
    EXPECT_EQ(percentText(0, true), QString("+0%"));
    EXPECT_EQ(percentText(-0.5, true), QString("-50%"));
    EXPECT_EQ(percentText(-0.004, true), QString("+0%")) << "no negative nought";
    const InLanguage german(AppLanguage::german);
    EXPECT_EQ(percentText(0.25, true), QString("+25\u00A0%"));
}

}  // namespace
}  // namespace dravo::testing
