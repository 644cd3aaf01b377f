#pragma once

#include <QGuiApplication>
#include <QIcon>
#include <QLabel>
#include <QPalette>

class QAbstractScrollArea;

/// Returns the symbol icons/NAME.svg in one colour.
QIcon SymbolIcon(const QString& name, const QColor& colour = QGuiApplication::palette().buttonText().color());

/// Makes the font of a widget larger, and bold if asked.
void EnlargeFont(QWidget* widget, double factor, bool bold = false);

/// Creates the heading of another widget, which gets the focus by the heading's mnemonic.
QLabel* CreateTitle(const QString& text, QWidget* buddy);

/// Creates the text in the middle of a view that has nothing else to show.
QLabel* CreateExplanation(const QString& text, QAbstractScrollArea* area);

/// Returns what the user enters; empty if nothing, or if cancelled. The title is the action's name.
QString AskForText(QWidget* parent, const QString& title, const QString& label);

/// Returns a duration as minutes and seconds, such as "3:07".
QString DurationText(qint64 seconds);

/// One line of plain text, after a symbol if it has one. Elided if too long; the tool tip has all of it.
class Line : public QLabel
{
    Q_OBJECT

public:
    explicit Line(QPalette::ColorRole role = QPalette::WindowText); ///< The role is that of the text.

    /// The symbol "done" is green; "error" is red, and so is its text.
    void Show(const QString& text, const QString& symbol = QString(), const QString& toolTip = QString());

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString symbol;
};
