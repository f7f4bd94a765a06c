// The find panel's query field: Return steps through matches, Escape closes the panel.
#pragma once

#include <AppModelTypes.h>

#include <QLineEdit>

class EditorFindField : public QLineEdit
{
    Q_OBJECT

public:
    explicit EditorFindField(QWidget *parent = nullptr);

    // A token different from the last one acted on makes the field take focus and select its
    // text, once it is in its window.
    void setFocusToken(int token);

signals:
    void submitted(SearchNavigationDirection direction);
    void cancelled();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    int m_focusToken = 0;
};
