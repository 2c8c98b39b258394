#include "ui/app/model_bridge.h"

namespace kelvane {

ModelBridge::ModelBridge(std::shared_ptr<AppModel> model, QObject* parent)
    : QObject(parent), model_(std::move(model)) {
    token_ = model_->subscribe([this](const ModelChange& change) { emit changed(change); });
}

ModelBridge::~ModelBridge() {
    model_->unsubscribe(token_);
}

}  // namespace kelvane
