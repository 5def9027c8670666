/// A white card with a caption, and where the PLC has what it shows.
#pragma once

#include <QtWidgets/QWidget>

class QLabel;
class QVBoxLayout;

class Card : public QWidget {
    Q_OBJECT

public:
    Card(const QString &caption, const QString &address);
    /// What stands below the caption.
    QVBoxLayout *content() const { return column; }

protected:
    void paintEvent(QPaintEvent *) override;

private:
    QVBoxLayout *const column;
};

QLabel *makeLabel(const QString &text, const QFont &font, const QColor &colour);
