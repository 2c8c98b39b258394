#pragma once

#include <QObject>
#include <memory>

#include "model/app_model.h"

namespace kelvane {

// Turns the model's notifications into a Qt signal, so widgets can connect to
// it and disconnect automatically when they are destroyed.
class ModelBridge : public QObject {
    Q_OBJECT
  public:
    explicit ModelBridge(std::shared_ptr<AppModel> model, QObject* parent = nullptr);
    ~ModelBridge() override;

    AppModel& model() const { return *model_; }
    const std::shared_ptr<AppModel>& shared() const { return model_; }

  signals:
    void changed(const kelvane::ModelChange& change);

  private:
    std::shared_ptr<AppModel> model_;
    int token_;
};

}  // namespace kelvane

Q_DECLARE_METATYPE(kelvane::ModelChange)
