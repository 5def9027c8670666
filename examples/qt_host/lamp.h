/// A lamp that is on, off, or not known.
#pragma once

#include <QtWidgets/QWidget>

class Lamp : public QWidget {
    Q_OBJECT

public:
    explicit Lamp(QWidget *parent = nullptr);
    void setOn(bool isOn);
    void setCurrent(bool isCurrent);

protected:
    void paintEvent(QPaintEvent *) override;

private:
    bool isOn = false;
    bool isCurrent = false;
};
