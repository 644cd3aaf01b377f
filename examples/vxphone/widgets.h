#pragma once

#include <QIcon>
#include <QLabel>

class QAbstractScrollArea;

/// How a text is meant. Its colour suits the palette of the desktop.
enum class Tone
{
    Plain,
    Quiet,
    Good, ///< Only the symbol is coloured.
    Error
};

QColor ToneColour(const QPalette& palette, Tone tone);

/// Draws the symbol icons/NAME.svg in one colour.
QPixmap Symbol(const QString& name, const QColor& colour);

/// Returns a symbol for buttons and menus, in the text colour of the palette or in a fixed one.
QIcon SymbolIcon(const QString& name, const QColor& fixed = QColor());

/// Creates the heading of another widget, which gets the focus by the heading's mnemonic.
QLabel* CreateTitle(const QString& text, QWidget* buddy);

/// Returns a duration as minutes and seconds, such as "3:07".
QString DurationText(qint64 seconds);

/// Creates the text in the middle of a view that has nothing else to show.
QLabel* CreateExplanation(const QString& text, QAbstractScrollArea* area);

/// One line of plain text, after a symbol if it has one. Elided if too long; the tool tip has all of it.
class Line : public QLabel
{
    Q_OBJECT

public:
    explicit Line(double size = 1.0, bool bold = false);

    void Show(const QString& text, Tone tone = Tone::Plain, const QString& symbol = QString(),
              const QString& details = QString());

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Tone tone = Tone::Plain;
    QString symbol;
};
