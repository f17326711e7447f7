#include "parameters/trend_chart.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QSvgGenerator>
#include <cmath>

namespace {

constexpr int Width = 1200;
constexpr int PanelHeight = 250;
constexpr int Top = 70, Bottom = 62, Left = 92, Right = 230, PanelGap = 40;

const QColor Palette[] = {QColor(0x1f, 0x77, 0xb4), QColor(0xff, 0x7f, 0x0e), QColor(0x2c, 0xa0, 0x2c),
                          QColor(0x94, 0x67, 0xbd), QColor(0x8c, 0x56, 0x4b), QColor(0x17, 0xbe, 0xcf),
                          QColor(0xbc, 0xbd, 0x22), QColor(0xe3, 0x77, 0xc2), QColor(0x7f, 0x7f, 0x7f)};
const QColor FailureColor(0xd6, 0x27, 0x28);
const QColor GridColor(0xe4, 0xe4, 0xe4);
const QColor TextColor(0x33, 0x33, 0x33);

// The columns that share a unit share a panel, in the order the units first appear.
struct Panel {
    QString unit;
    QVector<int> columns;
    double low = 0, high = 1, step = 1;
};

// 1, 2 or 5 times a power of ten, at least `rough`.
double niceStep(double rough)
{
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (double m : {1.0, 2.0, 5.0, 10.0})
        if (m * power >= rough)
            return m * power;
    return 10 * power;
}

void fitRange(const TrendLog& log, Panel* panel)
{
    double low = INFINITY, high = -INFINITY;
    for (int c : panel->columns)
        for (double v : log.values[c])
            if (!std::isnan(v)) {
                low = std::min(low, v);
                high = std::max(high, v);
            }
    if (!std::isfinite(low)) {
        low = 0;
        high = 1;
    }
    if (high - low < 1e-9) {
        low -= 1;
        high += 1;
    }
    panel->step = niceStep((high - low) / 5);
    panel->low = std::floor(low / panel->step) * panel->step;
    panel->high = std::ceil(high / panel->step) * panel->step;
}

QString tickText(double v, double step)
{
    const int decimals = step >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
    return QString::number(std::fabs(v) < step / 1e6 ? 0.0 : v, 'f', decimals);
}

// Seconds between time ticks: a step a clock reads well, about six ticks.
double timeStep(double spanSeconds)
{
    for (double s : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0, 15.0, 30.0, 60.0, 120.0, 300.0, 600.0, 900.0, 1800.0, 3600.0, 7200.0, 21600.0, 43200.0})
        if (spanSeconds / s <= 8)
            return s;
    return 86400;
}

class ChartPainter {
public:
    ChartPainter(QPainter& painter, const TrendLog& log) : p(painter), log(log) {}

    void paint(const QString& title)
    {
        for (int c = 0; c < log.labels.size(); ++c) {
            Panel* panel = nullptr;
            for (Panel& candidate : panels)
                if (candidate.unit == log.units[c])
                    panel = &candidate;
            if (panel == nullptr) {
                panels.push_back(Panel{log.units[c], {}, 0, 1, 1});
                panel = &panels.last();
            }
            panel->columns << c;
        }
        start = log.times.isEmpty() ? 0 : log.times.first().toMSecsSinceEpoch();
        const qint64 end = log.times.isEmpty() ? 0 : log.times.last().toMSecsSinceEpoch();
        span = std::max<qint64>(end - start, 1000);
        p.setRenderHint(QPainter::Antialiasing);
        p.fillRect(QRect(0, 0, Width, heightFor(panels.size())), Qt::white);
        paintTitle(title);
        for (int i = 0; i < panels.size(); ++i)
            paintPanel(panels[i], QRect(Left, Top + i * (PanelHeight + PanelGap), Width - Left - Right, PanelHeight),
                       i == panels.size() - 1);
    }

    static int heightFor(int panelCount) { return Top + panelCount * PanelHeight + (panelCount - 1) * PanelGap + Bottom; }

private:
    double xOf(const QRect& plot, const QDateTime& time) const
    {
        return plot.left() + plot.width() * double(time.toMSecsSinceEpoch() - start) / double(span);
    }
    static double yOf(const QRect& plot, const Panel& panel, double v)
    {
        return plot.bottom() - plot.height() * (v - panel.low) / (panel.high - panel.low);
    }

    void paintTitle(const QString& title)
    {
        QFont font = p.font();
        font.setPixelSize(20);
        font.setBold(true);
        p.setFont(font);
        p.setPen(TextColor);
        p.drawText(QRect(Left, 8, Width - Left - Right, 28), Qt::AlignLeft | Qt::AlignVCenter, title);
        int failed = 0;
        for (const QString& e : log.errors)
            failed += e.isEmpty() ? 0 : 1;
        QString sub = QStringLiteral("%1 round(s)").arg(log.times.size());
        if (!log.times.isEmpty())
            sub += QStringLiteral(", %1 to %2").arg(log.times.first().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")),
                                                    log.times.last().toString(QStringLiteral("hh:mm:ss")));
        sub += QStringLiteral(", %1 with failed reads").arg(failed);
        font.setPixelSize(14);
        font.setBold(false);
        p.setFont(font);
        p.setPen(QColor(0x66, 0x66, 0x66));
        p.drawText(QRect(Left, 36, Width - Left - Right, 22), Qt::AlignLeft | Qt::AlignVCenter, sub);
    }

    void paintPanel(Panel& panel, const QRect& plot, bool last)
    {
        fitRange(log, &panel);
        QFont font = p.font();
        font.setPixelSize(13);
        p.setFont(font);
        // Rounds with a failed read: a band across the panel.
        for (int row = 0; row < log.errors.size(); ++row) {
            if (log.errors[row].isEmpty())
                continue;
            const double x = xOf(plot, log.times[row]);
            p.fillRect(QRectF(x - 3, plot.top(), 6, plot.height()), QColor(0xd6, 0x27, 0x28, 40));
        }
        // Value grid and ticks.
        for (double v = panel.low; v <= panel.high + panel.step / 2; v += panel.step) {
            const double y = yOf(plot, panel, v);
            p.setPen(QPen(GridColor, 1));
            p.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
            p.setPen(TextColor);
            p.drawText(QRectF(plot.left() - 64, y - 9, 58, 18), Qt::AlignRight | Qt::AlignVCenter, tickText(v, panel.step));
        }
        // Time grid; labels under the last panel only.
        const double step = timeStep(span / 1000.0);
        const qint64 stepMs = static_cast<qint64>(step * 1000);
        for (qint64 t = ((start + stepMs - 1) / stepMs) * stepMs; t <= start + span; t += stepMs) {
            const double x = plot.left() + plot.width() * double(t - start) / double(span);
            p.setPen(QPen(GridColor, 1));
            p.drawLine(QPointF(x, plot.top()), QPointF(x, plot.bottom()));
            if (!last)
                continue;
            p.setPen(TextColor);
            const QString text = QDateTime::fromMSecsSinceEpoch(t).toString(step < 1 ? QStringLiteral("hh:mm:ss.z") : QStringLiteral("hh:mm:ss"));
            p.drawText(QRectF(x - 50, plot.bottom() + 6, 100, 18), Qt::AlignHCenter | Qt::AlignTop, text);
        }
        if (last)
            p.drawText(QRectF(plot.left(), plot.bottom() + 28, plot.width(), 20), Qt::AlignHCenter | Qt::AlignTop, QStringLiteral("time"));
        p.setPen(QPen(QColor(0x99, 0x99, 0x99), 1));
        p.setBrush(Qt::NoBrush);
        p.drawRect(plot);

        // The unit beside the value axis.
        p.save();
        p.setPen(TextColor);
        p.translate(18, plot.center().y());
        p.rotate(-90);
        QFont bold = font;
        bold.setBold(true);
        p.setFont(bold);
        p.drawText(QRectF(-plot.height() / 2.0, -10, plot.height(), 20), Qt::AlignCenter, panel.unit.isEmpty() ? QStringLiteral("value") : panel.unit);
        p.restore();

        int legendRow = 0;
        bool anyFailure = false;
        for (int c : panel.columns) {
            const QColor color = Palette[c % (sizeof Palette / sizeof Palette[0])];
            paintSeries(plot, panel, c, color, &anyFailure);
            paintLegendEntry(plot, legendRow++, color, log.labels[c], false);
        }
        if (anyFailure)
            paintLegendEntry(plot, legendRow, FailureColor, QStringLiteral("failed read"), true);
    }

    void paintSeries(const QRect& plot, const Panel& panel, int column, const QColor& color, bool* anyFailure)
    {
        const QVector<double>& values = log.values[column];
        QPainterPath path;
        bool drawing = false;
        p.setClipRect(plot.adjusted(-4, -4, 4, 4));
        for (int row = 0; row < values.size(); ++row) {
            const double x = xOf(plot, log.times[row]);
            if (std::isnan(values[row])) {
                drawing = false;
                *anyFailure = true;
                paintCross(QPointF(x, plot.bottom() - 8));
                continue;
            }
            const QPointF point(x, yOf(plot, panel, values[row]));
            if (drawing)
                path.lineTo(point);
            else
                path.moveTo(point);
            drawing = true;
        }
        p.setPen(QPen(color, 2.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        p.setBrush(Qt::NoBrush);
        p.drawPath(path);
        if (values.size() <= 60) {
            p.setBrush(color);
            p.setPen(Qt::NoPen);
            for (int row = 0; row < values.size(); ++row)
                if (!std::isnan(values[row]))
                    p.drawEllipse(QPointF(xOf(plot, log.times[row]), yOf(plot, panel, values[row])), 2.8, 2.8);
            p.setBrush(Qt::NoBrush);
        }
        p.setClipping(false);
    }

    void paintCross(const QPointF& at)
    {
        p.setPen(QPen(FailureColor, 2.2));
        p.drawLine(at + QPointF(-5, -5), at + QPointF(5, 5));
        p.drawLine(at + QPointF(-5, 5), at + QPointF(5, -5));
    }

    void paintLegendEntry(const QRect& plot, int row, const QColor& color, const QString& text, bool cross)
    {
        const QPointF at(plot.right() + 18, plot.top() + 14 + row * 22);
        if (cross) {
            paintCross(at + QPointF(12, 0));
        } else {
            p.setPen(QPen(color, 3, Qt::SolidLine, Qt::RoundCap));
            p.drawLine(at, at + QPointF(24, 0));
        }
        p.setPen(TextColor);
        p.drawText(QRectF(at.x() + 32, at.y() - 10, Right - 54, 20), Qt::AlignLeft | Qt::AlignVCenter,
                   p.fontMetrics().elidedText(text, Qt::ElideMiddle, Right - 54));
    }

    QPainter& p;
    const TrendLog& log;
    QVector<Panel> panels;
    qint64 start = 0;
    qint64 span = 1000;
};

int panelCount(const TrendLog& log)
{
    QStringList units;
    for (const QString& u : log.units)
        if (!units.contains(u))
            units << u;
    return std::max(1, static_cast<int>(units.size()));
}

} // namespace

bool renderTrendChart(const TrendLog& log, const QString& title, const QString& path, QString* error)
{
    const QSize size(Width, ChartPainter::heightFor(panelCount(log)));
    if (path.endsWith(QLatin1String(".svg"), Qt::CaseInsensitive)) {
        QSvgGenerator svg;
        svg.setFileName(path);
        svg.setSize(size);
        svg.setViewBox(QRect(QPoint(0, 0), size));
        svg.setTitle(title);
        QPainter painter;
        if (!painter.begin(&svg)) {
            *error = QStringLiteral("%1: cannot write the chart").arg(path);
            return false;
        }
        ChartPainter(painter, log).paint(title);
        painter.end();
        return true;
    }
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    ChartPainter(painter, log).paint(title);
    painter.end();
    if (!image.save(path, "PNG")) {
        *error = QStringLiteral("%1: cannot write the chart").arg(path);
        return false;
    }
    return true;
}
