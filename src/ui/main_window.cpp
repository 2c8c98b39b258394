#include "ui/main_window.h"

#include <QHeaderView>
#include <QLabel>
#include <QSplitter>
#include <QTreeWidget>

#include "core/catalog.h"
#include "ui/symbol_icons.h"

namespace kelvane {

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent) {
    setWindowTitle("Kelvane");
    setMinimumSize(980, 640);

    auto* splitter = new QSplitter(this);
    sidebar_ = new QTreeWidget(splitter);
    sidebar_->setHeaderHidden(true);
    sidebar_->setRootIsDecorated(false);
    sidebar_->setMinimumWidth(250);
    sidebar_->setMaximumWidth(360);
    detail_ = new QLabel("概要", splitter);
    detail_->setAlignment(Qt::AlignCenter);
    splitter->addWidget(sidebar_);
    splitter->addWidget(detail_);
    splitter->setStretchFactor(1, 1);
    splitter->setCollapsible(0, false);
    splitter->setSizes({290, 690});
    setCentralWidget(splitter);

    buildSidebar();
    resize(1100, 720);
}

void MainWindow::buildSidebar() {
    auto* overview = new QTreeWidgetItem(sidebar_, {"概要"});
    overview->setIcon(0, SymbolIcons::icon("gauge.with.dots.needle.33percent"));
    const auto categories = Catalog::all();
    for (const std::string& group : Catalog::groupOrder()) {
        QTreeWidgetItem* header = nullptr;
        for (const CleanCategory& category : categories) {
            if (category.group != group) continue;
            if (header == nullptr) {
                header = new QTreeWidgetItem(sidebar_, {QString::fromStdString(group)});
                header->setFlags(Qt::ItemIsEnabled);
                QFont font = header->font(0);
                font.setBold(true);
                header->setFont(0, font);
            }
            auto* row = new QTreeWidgetItem(header, {QString::fromStdString(category.name)});
            row->setIcon(0, SymbolIcons::icon(category.icon));
        }
    }
    sidebar_->expandAll();
    sidebar_->setCurrentItem(overview);
}

}  // namespace kelvane
