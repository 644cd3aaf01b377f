#pragma once

#include <QGuiApplication>
#include <QIcon>
#include <QLabel>
#include <QPalette>

class QAbstractScrollArea;

/// Returns the symbol icons/NAME.svg in the given colour.
QIcon SymbolIcon(const QString& name, const QColor& colour = QGuiApplication::palette().buttonText().color());

/// Enlarges the font of a widget and optionally makes it bold.
void EnlargeFont(QWidget* widget, double factor, bool bold = false);

/// Creates the heading of `buddy`. The mnemonic of the heading moves the focus to `buddy`.
QLabel* CreateTitle(const QString& text, QWidget* buddy);

/// Creates the centred text of an empty view.
QLabel* CreateExplanation(const QString& text, QAbstractScrollArea* area);

/// Returns the user's input; empty if the user enters nothing or cancels. The OK button also shows the title.
QString AskForText(QWidget* parent, const QString& title, const QString& label);

/// Returns a duration as minutes and seconds, such as "3:07".
QString DurationText(qint64 seconds);

/// One line of plain text with an optional symbol. Elides long text, which the tool tip shows in full.
class Line : public QLabel
{
    Q_OBJECT

public:
    explicit Line(QPalette::ColorRole role = QPalette::WindowText); ///< Sets the role of the text colour.

    /// Shows a string with an optional symbol: "done" is green; "error" and its text are red.
    void Show(const QString& text, const QString& symbol = QString(), const QString& toolTip = QString());

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString symbol;
};
