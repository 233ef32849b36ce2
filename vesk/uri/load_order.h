#ifndef VESK_URI_LOAD_ORDER_H_
#define VESK_URI_LOAD_ORDER_H_

// A record of the URI class's load-time steps, so that tests can prove that
// the character-class strings are built before the character maps that are
// made from them. Internal: not installed.

namespace Vesk {
namespace uri_internal {

enum LoadStep {
  kLoadStepStrings = 1,  // every character-class string has its value
  kLoadStepMaps = 2,     // the five character maps are built
};

// Appends `step` to the record; called only by load-time initialisers.
void RecordLoadStep(int step);
// How many steps have been recorded, and the step at `index` (0 when none).
int LoadStepCount();
int LoadStep(int index);

// Whether each of the five character maps holds exactly the bytes of the
// string it is built from, as that string stands now.
bool CharacterMapsMatchStrings();

}  // namespace uri_internal
}  // namespace Vesk

#endif  // VESK_URI_LOAD_ORDER_H_
