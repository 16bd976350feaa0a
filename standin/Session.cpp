#include "standin/Session.h"

#include "standin/Document.h"
#include "standin/Host.h"
#include "standin/Keys.h"
#include "standin/step/StepFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace standin {
namespace {

using ContentPtr = std::shared_ptr<PartContent>;

//! Gives the products that have bodies.
std::vector<std::size_t> partsOf(const geom::Model& model)
{
    std::vector<std::size_t> parts;
    for (std::size_t i = 0; i < model.products.size(); ++i) {
        if (!model.products[i].bodies.empty()) {
            parts.push_back(i);
        }
    }
    return parts;
}

std::size_t chosenPart(const geom::Model& model, const std::string& name,
                       const OpenOptions& options)
{
    const std::vector<std::size_t> parts = partsOf(model);
    if (options.product != geom::kNone) {
        if (std::find(parts.begin(), parts.end(), options.product) == parts.end()) {
            throw HostError("open " + name + ": product " + std::to_string(options.product) +
                            " holds no body");
        }
        return options.product;
    }
    if (parts.empty()) {
        throw HostError("open " + name + ": there is no body in it");
    }
    if (parts.size() > 1) {
        std::string list;
        for (const std::size_t part : parts) {
            list += (list.empty() ? "" : ", ") + std::to_string(part) + " \"" +
                    model.products[part].name + "\"";
        }
        throw HostError("open " + name + ": it holds several parts, choose one: " + list);
    }
    return parts.front();
}

PartDigest digestOfFile(const std::string& path)
{
    std::ifstream file(std::filesystem::u8path(path), std::ios::binary);
    if (!file) {
        throw HostError("open " + path + ": the file can't be read");
    }
    return digestOf(file);
}

ContentPtr contentOf(geom::Product& product, const PartDigest& digest,
                     const std::vector<std::string>& warnings)
{
    return std::make_shared<PartContent>(product.name, std::move(product.bodies), digest, warnings);
}

ContentPtr readPart(const std::string& path, const OpenOptions& options)
{
    geom::Model model = step::readFile(path);
    const std::size_t part = chosenPart(model, path, options);
    return contentOf(model.products[part], mixed(digestOfFile(path), part), model.warnings);
}

ContentPtr takePart(geom::Model& model, const std::string& name, const OpenOptions& options)
{
    geom::Product& product = model.products[chosenPart(model, name, options)];
    const PartDigest digest = digestOf(product.bodies);
    return contentOf(product, digest, model.warnings);
}

//! Gives a part its keys, with regard to what has been opened as the same document before, and
//! remembers it there.
void remember(HostState& host, const std::string& fullName, const ContentPtr& content)
{
    auto& history = host.remembered[fullName];
    const auto same = std::find_if(history.begin(), history.end(), [&content](const auto& each) {
        return each->digest() == content->digest();
    });
    if (same != history.end()) {
        content->setKeys((*same)->keys());
        history.erase(same);
    } else if (!history.empty()) {
        content->setKeys(inheritedKeys(*history.back(), *content));
    } else {
        content->setKeys(freshKeys(*content));
    }
    history.push_back(content);
}

std::shared_ptr<OpenDocument> findOpen(const HostState& host, const std::string& fullName)
{
    for (const auto& document : host.documents) {
        if (document->fullName == fullName) {
            return document;
        }
    }
    return nullptr;
}

void requireFreeName(const HostState& host, const std::string& fullName)
{
    if (fullName.empty()) {
        throw HostError("a document needs a name");
    }
    if (findOpen(host, fullName)) {
        throw HostError("a document named " + fullName + " is open");
    }
}

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

//! Gives names to the parts of a file with several.
std::string nameOfPart(const std::string& path, const std::string& product, const HostState& host)
{
    const std::string name = path + "!" + product;
    std::string candidate = name;
    for (int again = 2; findOpen(host, candidate); ++again) {
        candidate = name + "(" + std::to_string(again) + ")";
    }
    return candidate;
}

} // namespace

Session::Session(const SessionOptions& options) : state(std::make_shared<HostState>())
{
    state->options = options;
}

Session::~Session()
{
    while (!state->documents.empty()) {
        closeDocument(*state, state->documents.back());
    }
}

IDispatchPtr Session::open(std::shared_ptr<PartContent> content, const std::string& fullName)
{
    requireFreeName(*state, fullName);
    remember(*state, fullName, content);
    auto document = std::make_shared<OpenDocument>();
    document->fullName = fullName;
    document->replace(std::move(content));
    state->documents.push_back(document);
    return documentObject(state, document);
}

IDispatchPtr Session::openPart(const std::string& path, const OpenOptions& options)
{
    const std::string fullName = options.as.empty() ? path : options.as;
    requireFreeName(*state, fullName);
    return open(readPart(path, options), fullName);
}

IDispatchPtr Session::openPart(geom::Model model, const std::string& fullName,
                               const OpenOptions& options)
{
    const std::string name = options.as.empty() ? fullName : options.as;
    requireFreeName(*state, name);
    return open(takePart(model, name, options), name);
}

std::vector<IDispatchPtr> Session::openParts(const std::string& path, const OpenOptions& options)
{
    const std::string base = options.as.empty() ? path : options.as;
    geom::Model model = step::readFile(path);
    const std::vector<std::size_t> parts = partsOf(model);
    if (parts.empty()) {
        throw HostError("open " + path + ": there is no body in it");
    }
    const PartDigest digest = digestOfFile(path);
    std::vector<IDispatchPtr> documents;
    for (const std::size_t part : parts) {
        geom::Product& product = model.products[part];
        const std::string name = parts.size() == 1 ? base : nameOfPart(base, product.name, *state);
        documents.push_back(open(contentOf(product, mixed(digest, part), model.warnings), name));
    }
    return documents;
}

IDispatchPtr Session::openChanged(const std::string& oldPath, const std::string& newPath,
                                  const OpenOptions& options)
{
    const std::string fullName = options.as.empty() ? oldPath : options.as;
    requireFreeName(*state, fullName);
    const ContentPtr old = readPart(oldPath, options);
    ContentPtr changed = readPart(newPath, options);
    remember(*state, fullName, old);
    return open(std::move(changed), fullName);
}

void Session::change(IDispatch* document, geom::Model model, const OpenOptions& options)
{
    const std::shared_ptr<OpenDocument> opened = findOpen(*state, document);
    ContentPtr content = takePart(model, opened->fullName, options);
    remember(*state, opened->fullName, content);
    opened->replace(std::move(content));
}

LONG Session::addFeature(IDispatch* document, std::size_t model, const FeatureSpec& feature)
{
    LivePart& part = *findOpen(*state, document)->part;
    if (model >= part.content->bodies().size()) {
        throw HostError("add a feature: there is no model " + std::to_string(model));
    }
    part.features[model].push_back(feature);
    return static_cast<LONG>(part.features[model].size());
}

LONG Session::addConstruction(IDispatch* document, ConstructionSpec construction)
{
    const std::shared_ptr<OpenDocument> opened = findOpen(*state, document);
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
    return findOpen(*state, document)->part->content->bodies();
}

const std::vector<std::string>& Session::warnings(IDispatch* document) const
{
    return findOpen(*state, document)->part->content->warnings();
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
