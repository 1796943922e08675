#include "Views/LoopSaver.h"

#include "Platform/System/BackgroundQueue.h"
#include "Platform/System/MainQueue.h"
#include "ViewModels/SimpleLooperViewModel.h"

#include <QPointer>

#include <exception>

namespace tessivo {

void LoopSaver::save(SimpleLooperViewModel* viewModel, const QString& name) {
    // The guarded pointer is read on the main thread only, where we live and end.
    BackgroundQueue::post(BackgroundQueue::Priority::userInitiated,
                          [asker = QPointer(this), viewModel, name] {
                              try {
                                  viewModel->saveCurrentLoop(name);
                              } catch (const std::exception& error) {
                                  const QString message = QString::fromUtf8(error.what());
                                  MainQueue::post([asker, message] {
                                      if (asker) {
                                          emit asker->failed(message);
                                      }
                                  });
                                  return;
                              }
                              MainQueue::post([asker] {
                                  if (asker) {
                                      emit asker->saved();
                                  }
                              });
                          });
}

} // namespace tessivo
