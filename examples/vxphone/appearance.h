#pragma once

#include <QIcon>
#include <QLabel>

namespace vxphone
{

/// How a text is meant. Its colour comes from the palette of the desktop.
enum class Tone
{
    Plain,
    Quiet,
    Good, ///< Only the symbol is coloured.
    Error
};

QColor Mix(const QColor& first, const QColor& second, double shareOfSecond);
QColor ToneColour(const QPalette& palette, Tone tone);

/// Draws the symbol icons/NAME.svg in one colour. The size is in device-independent pixels.
QPixmap Symbol(const QString& name, int size, const QColor& colour, double ratio);

/// Returns a symbol for buttons and menus, in the text colour of the palette or in a fixed one.
QIcon SymbolIcon(const QString& name, const QColor& fixed = QColor());

/// Paints a disc with the initials of a name.
void PaintAvatar(QPainter& painter, const QRect& rect, const QString& name);

/// Paints a symbol and an explanation into the middle of a widget that has nothing else to show.
void PaintEmptyState(QWidget* widget, const QString& symbol, const QString& text);

/// One line of plain text, behind a symbol if it has one. Elided if it is too long; the tool tip has all of
/// it.
class Line : public QLabel
{
    Q_OBJECT

public:
    explicit Line(Tone tone = Tone::Plain, double size = 1.0, bool bold = false);

    void Show(const QString& text, Tone tone, const QString& symbol = QString(),
              const QString& details = QString());
    void Show(const QString& text) { Show(text, tone); }

    QSize sizeHint() const override { return minimumSizeHint(); }
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Tone tone;
    QString symbol;
};

} // namespace vxphone
