#include "standin/Session.h"

#include "standin/Document.h"
#include "standin/Host.h"
#include "standin/Keys.h"
#include "standin/Opener.h"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace standin {
namespace {

std::shared_ptr<OpenDocument> findOpen(const HostState& host, IDispatch* object)
{
    for (const auto& document : host.documents) {
        if (object != nullptr && static_cast<IDispatch*>(document->object) == object) {
            return document;
        }
    }
    throw HostError("the object is not an open document of this session");
}

void requireFinite(const char* what, double value)
{
    if (!std::isfinite(value)) {
        throw HostError(std::string("add a ") + what + ": its value is not finite");
    }
}

std::shared_ptr<OpenDocument> requirePart(const std::shared_ptr<OpenDocument>& document)
{
    if (document->isAssembly()) {
        throw HostError(document->fullName + " is an assembly");
    }
    return document;
}

const std::string& nameFor(const std::string& source, const OpenOptions& options)
{
    return options.as.empty() ? source : options.as;
}

//! Most occurrences that a view of an assembly shows.
constexpr std::size_t kMostOccurrences = 1000000;

//! @param left  how many more there may be
std::vector<OccurrenceView> viewOf(const LiveAssembly& assembly, std::size_t& left)
{
    std::vector<OccurrenceView> views;
    for (const PlacedDocument& placed : assembly.placed) {
        if (left-- == 0) {
            throw HostError("the assembly has more than " + std::to_string(kMostOccurrences) +
                            " occurrences");
        }
        OccurrenceView view;
        view.name = placed.name;
        view.document = placed.document->fullName;
        view.subassembly = placed.document->isAssembly();
        view.placement = placed.placement;
        if (view.subassembly) {
            view.occurrences = viewOf(*placed.document->assembly, left);
        }
        views.push_back(std::move(view));
    }
    return views;
}

} // namespace

Session::Session(const SessionOptions& options) : state(std::make_shared<HostState>())
{
    state->options = options;
}

Session::~Session()
{
    for (const auto& document : state->documents) {
        document->disconnect();
    }
    state->documents.clear();
}

IDispatchPtr Session::shown(const std::shared_ptr<OpenDocument>& document)
{
    document->openedItself = true;
    return documentObject(state, document);
}

IDispatchPtr Session::openPart(Opener& opener, const std::string& fullName,
                               const OpenOptions& options)
{
    return shown(opener.openPart(opener.choosePart(options), fullName));
}

IDispatchPtr Session::openAssembly(Opener& opener, const std::string& fullName,
                                   const OpenOptions& options)
{
    return shown(opener.openAssembly(opener.chooseAssembly(options), fullName, fullName));
}

IDispatchPtr Session::openPart(const std::string& path, const OpenOptions& options)
{
    requireFreeName(*state, nameFor(path, options));
    Opener opener(*state, path);
    return openPart(opener, nameFor(path, options), options);
}

IDispatchPtr Session::openPart(geom::Model model, const std::string& fullName,
                               const OpenOptions& options)
{
    Opener opener(*state, std::move(model), nameFor(fullName, options));
    return openPart(opener, nameFor(fullName, options), options);
}

IDispatchPtr Session::openAssembly(const std::string& path, const OpenOptions& options)
{
    requireFreeName(*state, nameFor(path, options));
    Opener opener(*state, path);
    return openAssembly(opener, nameFor(path, options), options);
}

IDispatchPtr Session::openAssembly(geom::Model model, const std::string& fullName,
                                   const OpenOptions& options)
{
    Opener opener(*state, std::move(model), nameFor(fullName, options));
    return openAssembly(opener, nameFor(fullName, options), options);
}

IDispatchPtr Session::open(const std::string& path, const OpenOptions& options)
{
    requireFreeName(*state, nameFor(path, options));
    Opener opener(*state, path);
    return opener.holdsAssembly(options) ? openAssembly(opener, nameFor(path, options), options)
                                         : openPart(opener, nameFor(path, options), options);
}

IDispatchPtr Session::open(geom::Model model, const std::string& fullName,
                           const OpenOptions& options)
{
    Opener opener(*state, std::move(model), nameFor(fullName, options));
    return opener.holdsAssembly(options) ? openAssembly(opener, nameFor(fullName, options), options)
                                         : openPart(opener, nameFor(fullName, options), options);
}

std::vector<IDispatchPtr> Session::openParts(const std::string& path, const OpenOptions& options)
{
    const std::string base = nameFor(path, options);
    Opener opener(*state, path);
    const std::vector<std::size_t> parts = opener.parts();
    if (parts.size() <= 1) {
        return {openPart(opener, base, OpenOptions())};
    }
    std::vector<IDispatchPtr> documents;
    for (const auto& document : opener.openParts(parts, base)) {
        documents.push_back(shown(document));
    }
    return documents;
}

IDispatchPtr Session::openChanged(const std::string& oldPath, const std::string& newPath,
                                  const OpenOptions& options)
{
    const std::string& fullName = nameFor(oldPath, options);
    requireFreeName(*state, fullName);
    Opener old(*state, oldPath);
    const std::size_t oldPart = old.choosePart(options);
    Opener changed(*state, newPath);
    const std::size_t changedPart = changed.choosePart(options);
    remember(*state, fullName, old.takePart(oldPart));
    return shown(changed.openPart(changedPart, fullName));
}

void Session::change(IDispatch* document, geom::Model model, const OpenOptions& options)
{
    const std::shared_ptr<OpenDocument> opened = requirePart(findOpen(*state, document));
    Opener opener(*state, std::move(model), opened->fullName);
    std::shared_ptr<PartContent> content = opener.takePart(opener.choosePart(options));
    remember(*state, opened->fullName, content);
    opened->replace(std::move(content));
}

LONG Session::addFeature(IDispatch* document, std::size_t model, const FeatureSpec& feature)
{
    LivePart& part = *requirePart(findOpen(*state, document))->part;
    if (model >= part.content->bodies().size()) {
        throw HostError("add a feature: there is no model " + std::to_string(model));
    }
    part.features[model].push_back(feature);
    return static_cast<LONG>(part.features[model].size());
}

LONG Session::addConstruction(IDispatch* document, ConstructionSpec construction)
{
    const std::shared_ptr<OpenDocument> opened = requirePart(findOpen(*state, document));
    std::vector<geom::Body> bodies;
    bodies.push_back(std::move(construction.body));
    // Equal bodies have different keys.
    const PartDigest digest = mixed(digestOf(bodies), opened->constructions.size() + 1);
    const auto content = std::make_shared<PartContent>(opened->name(), std::move(bodies), digest,
                                                       std::vector<std::string>());
    content->setKeys(freshKeys(*content));
    auto part = std::make_shared<LivePart>();
    part->content = content;
    part->construction = true;
    part->visible = construction.visible;
    part->features[0] = std::move(construction.features);
    opened->constructions.push_back(std::move(part));
    return static_cast<LONG>(opened->constructions.size());
}

LONG Session::addVariable(IDispatch* document, const VariableSpec& variable)
{
    Drawing& drawing = *findOpen(*state, document)->drawing;
    requireFinite("variable", variable.value);
    drawing.add(variable);
    return static_cast<LONG>(drawing.table.size());
}

LONG Session::addDimension(IDispatch* document, const DimensionSpec& dimension)
{
    Drawing& drawing = *findOpen(*state, document)->drawing;
    requireFinite("dimension", dimension.value);
    DrawnDimension drawn;
    drawn.data = dimension;
    drawing.add(std::move(drawn));
    return static_cast<LONG>(drawing.table.size());
}

LONG Session::addRefPlane(IDispatch* document, const RefPlaneSpec& plane)
{
    Drawing& drawing = *findOpen(*state, document)->drawing;
    try {
        return static_cast<LONG>(drawing.add(plane)) + 1;
    } catch (const std::invalid_argument& reason) {
        throw HostError(std::string("add a reference plane: ") + reason.what());
    }
}

std::vector<ProfileView> Session::profiles(IDispatch* document) const
{
    return findOpen(*state, document)->drawing->views();
}

void Session::close(IDispatch* document)
{
    closeDocument(*state, findOpen(*state, document));
}

void Session::rename(IDispatch* document, const std::string& fullName)
{
    const std::shared_ptr<OpenDocument> opened = findOpen(*state, document);
    if (opened->fullName == fullName) {
        return;
    }
    requireFreeName(*state, fullName);
    state->remembered[fullName] = state->remembered[opened->fullName];
    opened->fullName = fullName;
}

IDispatchPtr Session::application()
{
    return applicationObject(state);
}

IDispatchPtr Session::document(const std::string& fullName)
{
    const std::shared_ptr<OpenDocument> found = findOpen(*state, fullName);
    return found ? documentObject(state, found) : IDispatchPtr();
}

std::vector<IDispatchPtr> Session::documents()
{
    std::vector<IDispatchPtr> all;
    for (const auto& document : state->documents) {
        all.push_back(documentObject(state, document));
    }
    return all;
}

const std::vector<geom::Body>& Session::bodies(IDispatch* document) const
{
    return requirePart(findOpen(*state, document))->part->content->bodies();
}

const std::vector<std::string>& Session::warnings(IDispatch* document) const
{
    const OpenDocument& opened = *findOpen(*state, document);
    return opened.isAssembly() ? opened.assembly->warnings : opened.part->content->warnings();
}

std::vector<OccurrenceView> Session::occurrences(IDispatch* document) const
{
    const OpenDocument& opened = *findOpen(*state, document);
    std::size_t left = kMostOccurrences;
    return opened.isAssembly() ? viewOf(*opened.assembly, left) : std::vector<OccurrenceView>();
}

void Session::setType(IDispatch* document, LONG type)
{
    findOpen(*state, document)->type = type;
}

void Session::loseDocument(IDispatch* occurrence, HRESULT code)
{
    auto* const known = dynamic_cast<Occurrence*>(objectBehind(*state, occurrence));
    if (known == nullptr || !known->step().assembly->connected) {
        throw HostError("the object is not an occurrence of an open assembly of this session");
    }
    known->step().placed().lost = code;
}

FaultPlan& Session::faults() noexcept
{
    return state->faults;
}

Journal& Session::journal() noexcept
{
    return state->journal;
}

const Census& Session::census() const noexcept
{
    return state->census;
}

} // namespace standin
