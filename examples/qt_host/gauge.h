/// A round gauge from 0 to 100 with a needle.
#pragma once

#include <QtCore/QVariantAnimation>
#include <QtWidgets/QWidget>

class Gauge : public QWidget {
    Q_OBJECT

public:
    explicit Gauge(const QString &unit, QWidget *parent = nullptr);
    /// The needle glides there.
    void setValue(double value);
    /// False: the value is an old one, or there is none yet.
    void setCurrent(bool isCurrent);

protected:
    void paintEvent(QPaintEvent *) override;

private:
    void drawScale(QPainter &painter) const;
    void drawNeedle(QPainter &painter) const;
    void drawReading(QPainter &painter) const;

    const QString unit;
    QVariantAnimation needle;
    double target = 0;
    bool hasValue = false;
    bool isCurrent = false;
};
