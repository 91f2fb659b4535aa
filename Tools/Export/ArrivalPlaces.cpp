#include "ArrivalPlaces.h"

#include "ExportStop.h"
#include "LocalFileOpening.h"
#include "OpenFiles.h"
#include "PathText.h"
#include "PlanText.h"

#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace vx {
namespace {

bool Refuse(int error, const std::string &reason, PlaceError *refusal)
{
    refusal->error = error;
    refusal->reason = reason;
    return false;
}

std::string ReasonRefused(int error)
{
    switch (error) {
    case EISDIR:
        return "a folder of this machine stands in its place";
    case EBUSY:
        return "a file that this export reads stands in its place";
    case ENXIO:
        return "a FIFO, a socket or a device of this machine stands in its place";
    case EACCES:
        return "an older file in its place could not be overwritten";
    default:
        return "could not be created: " + DestinationErrorText(error);
    }
}

}  // namespace

ArrivalPlaces::ArrivalPlaces(const ExportPlan &plan, DestinationTree &tree, const PlanNames &names,
                             const SourceFiles &sources)
    : _plan(plan),
      _names(names),
      _sources(sources),
      _partials(plan),
      _tree(tree),
      _placed(names.Traits(), plan.Size())
{
}

bool ArrivalPlaces::Find(Number number, DestinationTree::Missing missing, ArrivalPlace *place,
                         PlaceError *error)
{
    const std::string path = _names.PathOf(number, &place->isChanged);
    if (path.empty())
        return Refuse(0, "its path would lead out of the destination", error);
    // The volume opens only the first one.
    if (_plan.At(number).Has(PlanEntry::kIsRepeated))
        return Refuse(0, "an earlier entry of its folder has the same name", error);
    SplitPath split(path);
    place->name = std::move(split.name);
    if (place->folder && place->folderPath == split.folder)
        return true;
    place->folderPath = std::move(split.folder);
    place->folder = _tree.Enter(place->folderPath, missing, &error->reason, &error->error);
    return place->folder != nullptr;
}

bool ArrivalPlaces::MayTake(const ArrivalPlace &place, Standing *standing, PlaceError *error)
{
    standing->target =
        LookAtLocalTarget(place.folder->Get(), place.name.c_str(), &standing->found, &IsOpenHere);
    if (standing->target == LocalTarget::kNothing)
        return true;
    if (standing->target == LocalTarget::kRefused)
        return Refuse(errno, ReasonRefused(errno), error);
    return MayReplace(place, standing->found, error);
}

bool ArrivalPlaces::MayReplace(const ArrivalPlace &place, const struct stat &found,
                               PlaceError *error)
{
    const PlacedFiles::Number earlier = _placed.At(place.Path(), IdentityOf(found));
    if (earlier != PlacedFiles::kNone)
        return RefuseTaken(earlier, error);
    if (!S_ISREG(found.st_mode))
        return true;
    if (_sources.Holds(found))
        return Refuse(EBUSY, ReasonRefused(EBUSY), error);
    if (faccessat(place.folder->Get(), place.name.c_str(), W_OK, AT_EACCESS) != 0)
        return Refuse(EACCES, ReasonRefused(EACCES), error);
    return true;
}

bool ArrivalPlaces::Keep(Number number, const ArrivalPlace &place, PlaceError *error)
{
    struct stat found;
    const MutexLock lock(_mutex);
    if (fstatat(place.folder->Get(), place.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
        return Refuse(errno, "its copy is no longer in its place: " + DestinationErrorText(errno),
                      error);
    const FileIdentity identity = IdentityOf(found);
    const PlacedFiles::Number earlier = _placed.Place(identity, place.Path(), number);
    return earlier == PlacedFiles::kNone || RefuseTaken(earlier, error);
}

// Another file of this export, or another program, may have come there since the first look. Where
// a free place is not taken in one step, every file is put into its place under the lock.
bool ArrivalPlaces::Deliver(Number number, const ArrivalPlace &place, ArrivingFile *file,
                            PlaceError *error)
{
    if (Put(number, place, file, &ArrivingFile::DeliverToFree, error))
        return true;
    const bool isTaken = error->error == EEXIST;
    if (!isTaken && error->error != ENOTSUP)
        return false;
    Standing standing;
    const MutexLock lock(_mutex);
    if (!MayTake(place, &standing, error))
        return false;
    const bool isFreeAgain = isTaken && standing.target == LocalTarget::kNothing;
    return Put(number, place, file,
               isFreeAgain ? &ArrivingFile::DeliverToFree : &ArrivingFile::Deliver, error);
}

bool ArrivalPlaces::Put(Number number, const ArrivalPlace &place, ArrivingFile *file, Move move,
                        PlaceError *error)
{
    const std::string path = place.Path();
    const PlacedFiles::Number earlier = _placed.Place(file->Identity(), path, number);
    if (earlier != PlacedFiles::kNone)
        return RefuseTaken(earlier, error);
    if ((file->*move)())
        return true;
    Refuse(errno, "could not be put into its place: " + DestinationErrorText(errno), error);
    _placed.Forget(file->Identity(), path);
    return false;
}

bool ArrivalPlaces::RefuseTaken(Number earlier, PlaceError *error) const
{
    return Refuse(EEXIST,
                  "its place is taken by " + ShownPathOf(_plan, earlier) +
                      ", which has arrived there",
                  error);
}

std::string ArrivalPlaces::DeliverDamaged(Number number, const ArrivalPlace &place,
                                          ArrivingFile *file, PlaceError *error)
{
    struct stat found;
    const MutexLock lock(_mutex);
    std::string name;
    if (file->DeliverToFree() || (errno == ENOTSUP &&
                                  LookAtLocalTarget(place.folder->Get(), place.name.c_str(), &found,
                                                    &IsOpenHere) == LocalTarget::kNothing &&
                                  file->Deliver()))
        name = place.name;
    else
        name = file->DeliverAsDamaged();
    if (name.empty()) {
        Refuse(errno, "the copy could not be put into its place: " + DestinationErrorText(errno),
               error);
        return "";
    }
    ArrivalPlace own = place;
    own.name = name;
    _placed.Place(file->Identity(), own.Path(), number);
    return name;
}

}  // namespace vx
