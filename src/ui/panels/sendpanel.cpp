#include "sendpanel.h"

#include "theme/varnpalette.h"

#include "transport/networkaddress.h"
#include "transport/serialdiagnostics.h"
#include "transport/transporterror.h"
#include "workspace/appmodel.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include <functional>

namespace {

using Status = TransferState::Status;

constexpr int kRowSpacing = 4; // between the rows and between the controls of a row
constexpr int kPortGap = 12;   // between the machine's summary and the port picker

// A port picker that looks for devices again as it opens: an adapter plugged
// in a moment ago should be in the list the user is about to read.
class PortComboBox : public QComboBox {
public:
    PortComboBox(std::function<void()> beforePopup, QWidget *parent)
        : QComboBox(parent), m_beforePopup(std::move(beforePopup))
    {
    }

    void showPopup() override
    {
        m_beforePopup();
        QComboBox::showPopup();
    }

private:
    std::function<void()> m_beforePopup;
};

QString portText(const SerialPort &port)
{
    const QString device = TransferController::endpointName(port.path);
    // The device name first: it is what tells two adapters of one make apart,
    // and it stays readable when the picker is narrow.
    return port.label.isEmpty() ? port.path : device + QStringLiteral(" · ") + port.label;
}

void paintText(QLabel *label, const QColor &color)
{
    if (!color.isValid()) {
        label->setPalette(QPalette()); // back to the appearance's own text colour
        return;
    }
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText, color);
    label->setPalette(palette);
}

QColor statusColor(Status status)
{
    switch (status) {
    case Status::success:
        return VarnPalette::ready();
    case Status::connecting:
    case Status::sending:
    case Status::finishing:
        return VarnPalette::warning();
    case Status::error:
    case Status::cancelled:
        return VarnPalette::danger();
    case Status::idle:
        break;
    }
    return {};
}

} // namespace

SendPanel::SendPanel(AppModel &model, QWidget *parent)
    : QWidget(parent), m_model(model), m_machineCaption(new QLabel(this)), m_machines(new QComboBox(this)),
      m_summary(new QLabel(this)), m_manage(new QToolButton(this)), m_portCaption(new QLabel(this)),
      m_ports(new PortComboBox([this] { m_model.refreshPorts(); }, this)), m_refresh(new QToolButton(this)),
      m_portGroup(new QWidget(this)), m_pickerRows{new QHBoxLayout, new QHBoxLayout, new QHBoxLayout},
      m_send(new QPushButton(this)), m_receive(new QToolButton(this)), m_cancel(new QPushButton(this)), m_status(new QLabel(this)),
      m_route(new QLabel(this)), m_progress(new QProgressBar(this)), m_progressText(new QLabel(this)),
      m_message(new QLabel(this)), m_hint(new QLabel(this)), m_advice(new QLabel(this))
{
    m_machines->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_machines->setMinimumContentsLength(10);
    // Adapter names run long; the list shows them whole, the closed picker
    // keeps to a width that leaves room for the buttons.
    m_ports->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_ports->setMinimumContentsLength(20);
    // Typed text selects a port only through the model, which checks it.
    m_ports->setEditable(true);
    m_ports->setInsertPolicy(QComboBox::NoInsert);
    m_refresh->setText(QStringLiteral("↻"));
    m_refresh->setAutoRaise(true);
    m_summary->setForegroundRole(QPalette::PlaceholderText);
    // The summary and the route give way first when the editor is narrow.
    m_summary->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_route->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_manage->setText(QStringLiteral("…"));
    m_manage->setAutoRaise(true);
    m_send->setDefault(false);
    m_send->setAutoDefault(false);
    m_receive->setAutoRaise(true);

    QFont bold = m_status->font();
    bold.setBold(true);
    m_status->setFont(bold);
    m_route->setForegroundRole(QPalette::PlaceholderText);
    m_route->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_progress->setRange(0, 100);
    m_progress->setTextVisible(true);
    m_progress->setFormat(QStringLiteral("%p%"));
    m_progress->setMinimumWidth(100);
    m_progress->setMaximumWidth(260);
    m_progress->setMaximumHeight(16);
    m_message->setWordWrap(true);
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_hint->setWordWrap(true);
    m_hint->setTextInteractionFlags(Qt::TextSelectableByMouse);
    paintText(m_hint, VarnPalette::danger());
    m_advice->setWordWrap(true);
    m_advice->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_advice->setVisible(false);
    paintText(m_advice, VarnPalette::warning());

    auto *portPickers = new QHBoxLayout(m_portGroup);
    portPickers->setContentsMargins(kPortGap + kRowSpacing, 0, 0, 0); // beside the summary, as fitPickers keeps it
    portPickers->setSpacing(kRowSpacing); // as the rows around it
    portPickers->addWidget(m_portCaption);
    portPickers->addWidget(m_ports);
    portPickers->addWidget(m_refresh);
    QHBoxLayout *pickers = m_pickerRows[0];
    pickers->addWidget(m_machineCaption);
    pickers->addWidget(m_machines);
    pickers->addWidget(m_manage);
    pickers->addWidget(m_summary, 1);
    pickers->addWidget(m_portGroup);
    for (QHBoxLayout *row : {m_pickerRows[1], m_pickerRows[2]}) {
        row->addStretch(); // keeps what flows down at the left
    }

    auto *progressRow = new QHBoxLayout;
    progressRow->addWidget(m_status);
    progressRow->addWidget(m_route, 1);
    progressRow->addWidget(m_progressText);
    progressRow->addWidget(m_progress, 1);
    progressRow->addSpacing(8);
    progressRow->addWidget(m_cancel);
    progressRow->addWidget(m_receive);
    progressRow->addWidget(m_send);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(10, 6, 10, 6);
    column->setSpacing(kRowSpacing);
    for (QHBoxLayout *row : m_pickerRows) {
        column->addLayout(row); // rows left empty take no room
    }
    column->addLayout(progressRow);
    column->addWidget(m_message);
    column->addWidget(m_hint);
    column->addWidget(m_advice);

    connect(m_machines, &QComboBox::activated, this, [this](int index) {
        m_model.setSelectedMachineId(m_machines->itemData(index).toString());
    });
    connect(m_ports, &QComboBox::activated, this, [this](int index) {
        const QString path = m_ports->itemData(index).toString();
        if (!path.isEmpty()) {
            m_model.setSelectedPortPath(path);
        }
    });
    connect(m_ports->lineEdit(), &QLineEdit::returnPressed, this, &SendPanel::chooseTypedPort);
    connect(m_manage, &QToolButton::clicked, this, [this] { m_model.setShowingMachines(true); });
    connect(m_refresh, &QToolButton::clicked, this, [this] { m_model.refreshPorts(); });
    connect(m_send, &QPushButton::clicked, this, [this] { m_model.send(); });
    connect(m_receive, &QToolButton::clicked, this,
            [this] { m_model.showReceive(AppModel::ReceiveMode::open); });
    connect(m_cancel, &QPushButton::clicked, this, [this] { m_model.transfer().cancel(); });

    connect(&m_model.machineStore(), &MachineStore::machinesChanged, this, &SendPanel::fillMachines);
    connect(&m_model, &AppModel::selectedMachineChanged, this, &SendPanel::fillMachines);
    // Each machine has its own typed network ports.
    connect(&m_model, &AppModel::selectedMachineChanged, this, &SendPanel::fillPorts);
    connect(&m_model, &AppModel::portsChanged, this, &SendPanel::fillPorts);
    connect(&m_model, &AppModel::selectedPortChanged, this, &SendPanel::fillPorts);
    connect(&m_model.transfer(), &TransferController::stateChanged, this, &SendPanel::showState);
    connect(&m_model, &AppModel::languageChanged, this, &SendPanel::retranslate);

    retranslate();
}

void SendPanel::retranslate()
{
    const AppLanguage language = m_model.language();
    m_machineCaption->setText(L10n::text("Machine", language));
    m_portCaption->setText(L10n::text("Port", language));
    m_manage->setToolTip(L10n::text("Manage Machines…", language));
    m_refresh->setToolTip(L10n::text("Refresh Ports", language));
    m_send->setText(L10n::text("Send to Machine", language));
    m_receive->setText(L10n::text("Receive…", language));
    m_receive->setToolTip(L10n::text("Receive from Machine", language));
    m_cancel->setText(L10n::text("Cancel Transfer", language));
    fillMachines();
    fillPorts();
    showState();
}

void SendPanel::fillMachines()
{
    const AppLanguage language = m_model.language();
    const QSignalBlocker blocker(m_machines);
    m_machines->clear();
    const QList<Machine> &machines = m_model.machineStore().machines();
    for (const Machine &machine : machines) {
        m_machines->addItem(machine.name, machine.id);
        m_machines->setItemData(m_machines->count() - 1, machine.summary(language), Qt::ToolTipRole);
    }
    m_machines->setPlaceholderText(machines.isEmpty() ? L10n::text("No machines", language)
                                                      : L10n::text("Machine", language));
    // A selection whose profile was deleted shows as no machine: sending then
    // tells the user to pick one, rather than quietly using another.
    const int current = m_model.selectedMachineId() ? m_machines->findData(*m_model.selectedMachineId()) : -1;
    m_machines->setCurrentIndex(current);
    const std::optional<Machine> selected = m_model.selectedMachine();
    m_summary->setText(selected ? selected->summary(language) : QString());
    fitPickers();
}

void SendPanel::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitPickers();
}

void SendPanel::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    fitPickers();
}

void SendPanel::fitPickers()
{
    // Until it is shown the panel has no width of its own, and its size hint
    // (which decides the height the window first gives it) is the one-row one.
    if (!isVisible()) {
        return;
    }
    // Rows filled in order from size hints and the text, never from the
    // current geometry, so a move cannot make the pickers want to move back.
    const QMargins margins = layout() ? layout()->contentsMargins() : QMargins();
    const int room = width() - margins.left() - margins.right();
    int row = 0;
    int used = m_machineCaption->sizeHint().width() + m_machines->sizeHint().width() +
               m_manage->sizeHint().width() + 2 * kRowSpacing;
    // The row `width` goes to, and whether something precedes it there.
    const auto flow = [&](int width, int gap) {
        if (used + gap + width <= room || row == 2) {
            used += gap + width;
            return std::pair(row, true);
        }
        used = width;
        return std::pair(++row, false);
    };
    const int portsWidth = m_portCaption->sizeHint().width() + m_ports->sizeHint().width() +
                           m_refresh->sizeHint().width() + 2 * kRowSpacing;
    const int summaryRow = flow(m_summary->fontMetrics().horizontalAdvance(m_summary->text()), kRowSpacing).first;
    const auto [portRow, portJoined] = flow(portsWidth, kRowSpacing + kPortGap);

    for (QHBoxLayout *each : m_pickerRows) {
        each->removeWidget(m_summary);
        each->removeWidget(m_portGroup);
    }
    // After the machine picker in the first row, else at the start of its own.
    m_pickerRows[summaryRow]->insertWidget(summaryRow == 0 ? 3 : 0, m_summary, 1);
    QHBoxLayout *ports = m_pickerRows[portRow];
    ports->insertWidget(portRow == 0 ? ports->count() : ports->count() - 1, m_portGroup);
    m_portGroup->layout()->setContentsMargins(portJoined ? kPortGap + kRowSpacing : 0, 0, 0, 0);
}

void SendPanel::fillPorts()
{
    const QSignalBlocker blocker(m_ports);
    m_ports->clear();
    for (const SerialPort &port : m_model.ports()) {
        m_ports->addItem(portText(port), port.path);
        m_ports->setItemData(m_ports->count() - 1, port.path, Qt::ToolTipRole);
    }
    QStringList network = m_model.networkPorts();
    const std::optional<QString> selected = m_model.selectedPortPath();
    if (selected && NetworkAddress::isNetworkPort(*selected) && !network.contains(*selected)) {
        network.prepend(*selected);
    }
    for (const QString &address : network) {
        m_ports->addItem(address, address);
    }
    const AppLanguage language = m_model.language();
    m_ports->setPlaceholderText(L10n::text("No ports found", language));
    m_ports->lineEdit()->setPlaceholderText(m_model.ports().isEmpty() ? L10n::text("No ports found", language)
                                                                       : L10n::text("Port", language));
    m_ports->setToolTip(L10n::text("Pick a port, or type a network port as tcp://HOST:PORT or rfc2217://HOST:PORT "
                                   "and press Enter.",
                                   language));
    const int current = selected ? m_ports->findData(*selected) : -1;
    m_ports->setCurrentIndex(current);

    QStringList advice;
    QList<SerialDiagnostic> findings = selected ? SerialDiagnostics::forPort(*selected) : QList<SerialDiagnostic>();
    findings += SerialDiagnostics::forSystem();
    for (const SerialDiagnostic &finding : findings) {
        advice.append(finding.description(language));
    }
    m_advice->setText(advice.join(QLatin1Char('\n')));
    m_advice->setVisible(!advice.isEmpty());
}

void SendPanel::chooseTypedPort()
{
    const QString text = m_ports->lineEdit()->text().trimmed();
    // Enter on a listed entry's own text has already selected it.
    const int listed = m_ports->findText(text);
    if (text.isEmpty() || (listed >= 0 && m_ports->itemData(listed).toString() == m_model.selectedPortPath())) {
        return;
    }
    if (listed >= 0) {
        m_model.setSelectedPortPath(m_ports->itemData(listed).toString());
    } else if (!m_model.choosePort(text)) {
        fillPorts(); // back to the port that stays selected
    }
}

void SendPanel::showState()
{
    const AppLanguage language = m_model.language();
    const TransferState &state = m_model.transfer().state();
    const bool active = state.isActive();
    if (active && !TransferState::isActive(m_lastStatus)) {
        m_transferPort = m_model.selectedPortPath().value_or(QString());
    }
    m_lastStatus = state.status;

    m_status->setText(TransferState::label(state.status, language));
    paintText(m_status, statusColor(state.status));

    QString route;
    if (!state.fileName.isEmpty()) {
        route = state.fileName + QStringLiteral("  →  ") + state.machineName;
        if (!state.endpointName.isEmpty()) {
            route += QStringLiteral(" · ") + state.endpointName;
        }
    }
    m_route->setText(route);

    m_progress->setValue(state.percent());
    m_progress->setVisible(state.status != Status::idle);
    m_progressText->setText(state.progressLabel(language));
    m_message->setText(state.message);
    // "Transfer Completed" under "Transfer Completed" says nothing new.
    m_message->setVisible(!state.message.isEmpty() && state.message != m_status->text());

    const QString hint = state.status == Status::error && !m_transferPort.isEmpty()
                             ? TransportError::accessHint(m_transferPort, language)
                             : QString();
    m_hint->setText(hint);
    m_hint->setVisible(!hint.isEmpty());

    m_send->setEnabled(!active);
    m_cancel->setEnabled(active);
    m_machines->setEnabled(!active);
    m_ports->setEnabled(!active);
    m_refresh->setEnabled(!active);
}
