#pragma once

#include <QGuiApplication>
#include <QIcon>
#include <QLabel>
#include <QPalette>

class QAbstractScrollArea;

/// Returns the symbol icons/NAME.svg in one colour.
QIcon SymbolIcon(const QString& name, const QColor& colour = QGuiApplication::palette().buttonText().color());

/// Enlarges the font of a widget, and optionally makes it bold.
void EnlargeFont(QWidget* widget, double factor, bool bold = false);

/// Creates the heading of another widget; its mnemonic moves the focus there.
QLabel* CreateTitle(const QString& text, QWidget* buddy);

/// Creates the text that an empty view shows in its middle.
QLabel* CreateExplanation(const QString& text, QAbstractScrollArea* area);

/// Returns what the user enters; empty if nothing, or if cancelled. The title is the action's name.
QString AskForText(QWidget* parent, const QString& title, const QString& label);

/// Returns a duration as minutes and seconds, such as "3:07".
QString DurationText(qint64 seconds);

/// One line of plain text with an optional symbol. If it is too long, it is elided, and the tool tip shows
/// all of it.
class Line : public QLabel
{
    Q_OBJECT

public:
    explicit Line(QPalette::ColorRole role = QPalette::WindowText); ///< Sets the role of the text colour.

    /// Shows a text with a symbol: "done" is green; "error" is red, as is its text.
    void Show(const QString& text, const QString& symbol = QString(), const QString& toolTip = QString());

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString symbol;
};
