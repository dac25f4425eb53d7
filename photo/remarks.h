// What is said about a finished photograph, or against making it.
#ifndef QX_PHOTO_REMARKS_H
#define QX_PHOTO_REMARKS_H

#include <vector>

#include "photo/placing.h"
#include "photo/render/colour_cast.h"

namespace qx::photo {

// For photographs that must fit. Throws Failure (kUnsuitable) with what failed of each person, from left to right.
void RefuseUnsuitable(const std::vector<std::vector<Measure>>& persons);

// In the order in which they are told. AddRemarks begins them anew.
void AddRemarks(const Analysis::State& state, const MakeRequest& request, const Placed& placed, MadePhoto* made);
void AddBalance(const Cast& cast, MadePhoto* made);
// Where a new background shows an outline of hair that is a guess.
void AddDoubt(const OutlineDoubt& doubt, MadePhoto* made);

}  // namespace qx::photo

#endif  // QX_PHOTO_REMARKS_H
