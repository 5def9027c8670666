/// A switch that shows what the PLC has. A click asks for the other position; the switch moves when the PLC has it.
#pragma once

#include <QtWidgets/QAbstractButton>

class Toggle : public QAbstractButton {
    Q_OBJECT

public:
    explicit Toggle(QWidget *parent = nullptr);
    QSize sizeHint() const override;

signals:
    void asked(bool on);

protected:
    void nextCheckState() override;
    void paintEvent(QPaintEvent *) override;
};
