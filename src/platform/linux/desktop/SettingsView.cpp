#include "platform/settings_view.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QProxyStyle>
#include <QPushButton>
#include <algorithm>
#include <utility>

#include "platform/desktop.h"
#include "platform/linux/desktop/PlainText.h"

namespace {

/// Holds what its buttons call, so that it is there until the last call has returned.
class FormDialog : public QDialog {
public:
    SettingsViewEvents events;
    std::vector<Control> controls;
    std::vector<QWidget*> widgets;  ///< one for each control
};

/// The system's style, but a long list opens at the size that the form gives it, with a scroll bar, instead
/// of covering the screen.
class ListStyle : public QProxyStyle {
public:
    ListStyle() : QProxyStyle(QApplication::style()->name()) {}
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* data) const override {
        return hint == SH_ComboBox_Popup ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

QRect toQRect(const Rect& rect) {
    return {rect.left, rect.top, rect.width(), rect.height()};
}

bool isButton(ControlKind kind) {
    return kind == ControlKind::button || kind == ControlKind::defaultButton;
}

/// The pixels that a control has for its text.
int textRoom(const Control& control, const QFontMetrics& metrics) {
    const QStyle* style = QApplication::style();
    const int width = control.place.width();
    if (control.kind == ControlKind::checkBox) {
        return width - style->pixelMetric(QStyle::PM_IndicatorWidth) -
               style->pixelMetric(QStyle::PM_CheckBoxLabelSpacing);
    }
    return isButton(control.kind) ? width - metrics.height() : width;
}

bool fits(const Form& form, const QFont& font) {
    const QFontMetrics metrics(font);
    return std::all_of(form.controls.begin(), form.controls.end(), [&](const Control& control) {
        if (control.kind == ControlKind::edit || control.kind == ControlKind::list) return true;
        return metrics.horizontalAdvance(QString::fromStdString(control.text)) <= textRoom(control, metrics);
    });
}

/// The system's font at the form's size. Fonts differ by a third in their width; one that is too wide for the
/// form is drawn narrower.
QFont formFont(const Form& form) {
    QFont font = QApplication::font();
    font.setPixelSize(form.fontSize);
    constexpr int narrowest = 70;  // percent
    for (int stretch = QFont::Unstretched; !fits(form, font) && stretch > narrowest;)
        font.setStretch(--stretch);
    return font;
}

QWidget* makeList(const Control& control, int closedHeight, QWidget* parent) {
    auto* list = new QComboBox(parent);
    auto* style = new ListStyle;
    style->setParent(list);
    list->setStyle(style);
    for (const std::string& entry : control.entries)
        list->addItem(QString::fromStdString(entry));
    list->setCurrentIndex(control.selected);
    const int rowHeight = std::max(1, list->view()->sizeHintForRow(0));
    list->setMaxVisibleItems(std::max(1, (control.place.height() - closedHeight) / rowHeight));
    list->setGeometry(control.place.left, control.place.top, control.place.width(), closedHeight);
    return list;
}

QWidget* makeButton(const Control& control, FormDialog* dialog) {
    auto* button = new QPushButton(withoutMnemonics(control.text), dialog);
    button->setDefault(control.kind == ControlKind::defaultButton);
    QObject::connect(button, &QPushButton::clicked, dialog,
                     [dialog, id = control.id] { dialog->events.pressed(id); });
    return button;
}

QWidget* makeWidget(const Control& control, int lineHeight, FormDialog* dialog) {
    QWidget* widget = nullptr;
    if (control.kind == ControlKind::list) return makeList(control, lineHeight, dialog);
    if (control.kind == ControlKind::label) {
        widget = new QLabel(withoutMnemonics(control.text), dialog);
    } else if (control.kind == ControlKind::edit) {
        widget = new QLineEdit(QString::fromStdString(control.text), dialog);
    } else if (control.kind == ControlKind::checkBox) {
        auto* box = new QCheckBox(withoutMnemonics(control.text), dialog);
        box->setChecked(control.checked);
        widget = box;
    } else {
        widget = makeButton(control, dialog);
    }
    widget->setGeometry(toQRect(control.place));
    return widget;
}

void fill(FormDialog* dialog, const Form& form) {
    // A closed list is as high as an edit line: 24 for letters of 13.
    const int lineHeight = form.fontSize * 24 / 13;
    dialog->controls = form.controls;
    QLabel* label = nullptr;
    for (const Control& control : form.controls) {
        QWidget* widget = makeWidget(control, lineHeight, dialog);
        dialog->widgets.push_back(widget);
        // By it a screen reader knows what a line or a list is for.
        if (label != nullptr) label->setBuddy(widget);
        label = qobject_cast<QLabel*>(widget);
    }
}

}  // namespace

struct SettingsView::Parts {
    FormDialog* dialog = new FormDialog;

    QMessageBox* makeBox(QMessageBox::Icon icon, const std::string& title, const std::string& text,
                         QMessageBox::StandardButtons buttons) const {
        auto* box = new QMessageBox(icon, QString::fromStdString(title), QString::fromStdString(text),
                                    buttons, dialog);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setTextFormat(Qt::PlainText);
        box->setFont(dialog->font());
        return box;
    }
};

SettingsView::SettingsView(const Desktop&, const Form& form, SettingsViewEvents events)
    : parts(std::make_unique<Parts>()) {
    FormDialog* dialog = parts->dialog;
    dialog->events = std::move(events);
    dialog->setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint | Qt::WindowStaysOnTopHint);
    dialog->setWindowTitle(QString::fromStdString(form.title));
    dialog->setFont(formFont(form));
    dialog->setFixedSize(form.place.width(), form.place.height());
    dialog->move(form.place.left, form.place.top);
    fill(dialog, form);
    QObject::connect(dialog, &QDialog::rejected, dialog, [dialog] { dialog->events.closed(); });
    raise();
}

SettingsView::~SettingsView() {
    // Perhaps one of its buttons is being pressed right now.
    parts->dialog->setEnabled(false);
    parts->dialog->hide();
    parts->dialog->deleteLater();
}

std::vector<Control> SettingsView::controls() const {
    std::vector<Control> controls = parts->dialog->controls;
    for (size_t index = 0; index < controls.size(); ++index) {
        const QWidget* widget = parts->dialog->widgets[index];
        Control& control = controls[index];
        if (const auto* line = qobject_cast<const QLineEdit*>(widget)) {
            control.text = line->text().toStdString();
        } else if (const auto* list = qobject_cast<const QComboBox*>(widget)) {
            control.selected = list->currentIndex();
        } else if (const auto* box = qobject_cast<const QCheckBox*>(widget)) {
            control.checked = box->isChecked();
        }
    }
    return controls;
}

void SettingsView::raise() {
    // Some window managers offer to minimise it all the same.
    parts->dialog->setWindowState(parts->dialog->windowState() & ~Qt::WindowMinimized);
    parts->dialog->show();
    parts->dialog->raise();
    parts->dialog->activateWindow();
}

void SettingsView::tell(const std::string& title, const std::string& text) {
    parts->makeBox(QMessageBox::Information, title, text, QMessageBox::Ok)->open();
}

void SettingsView::ask(const std::string& title, const std::string& text, std::function<void()> yes) {
    QMessageBox* box = parts->makeBox(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No);
    box->setDefaultButton(QMessageBox::No);
    QObject::connect(box, &QMessageBox::finished, parts->dialog, [yes = std::move(yes)](int answer) {
        if (answer == QMessageBox::Yes) yes();
    });
    box->open();
}
