#include "host/sim/SimulatedHost.h"

namespace sim {

SimulatedHost::SimulatedHost()
    : handles_(log_),
      libParts_(log_, faults_, handles_),
      libraryList_(log_, faults_, [this] { LoadLibraries(); }),
      stories_(log_, faults_),
      elements_(log_, faults_, handles_, libParts_, stories_),
      undo_(log_, faults_, elements_),
      processWindow_(log_, faults_),
      reportWindow_(log_),
      openFileDialog_(log_),
      alertDialog_(log_),
      registration_(log_, faults_),
      bundle_{registration_, openFileDialog_, alertDialog_, reportWindow_, processWindow_,
              libraryList_,  libParts_,       elements_,    undo_,         stories_}
{
}

SimulatedHost::~SimulatedHost()
{
    if (bound_) {
        host::SetCurrentHost(nullptr);
    }
}

void SimulatedHost::BindAsCurrent()
{
    host::SetCurrentHost(&bundle_);
    bound_ = true;
}

void SimulatedHost::LoadLibraries()
{
    libParts_.LoadFrom(libraryList_.Libraries());
    elements_.FollowLibParts();
}

}  // namespace sim
