#include "standin/Opener.h"

#include "standin/Keys.h"
#include "standin/step/StepFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <utility>

namespace standin {
namespace {

constexpr std::size_t kUnseen = 0;
constexpr std::size_t kOpen = geom::kNone;

PartDigest digestOfFile(const std::string& path)
{
    std::ifstream file(std::filesystem::u8path(path), std::ios::binary);
    if (!file) {
        throw HostError("open " + path + ": the file can't be read");
    }
    return digestOf(file);
}

bool isFinite(const geom::Placement& placement)
{
    return std::all_of(placement.row.begin(), placement.row.end(),
                       [](double value) { return std::isfinite(value); });
}

std::string freeName(const std::string& wanted, std::set<std::string>& taken)
{
    std::string candidate = wanted;
    for (int again = 2; !taken.insert(candidate).second; ++again) {
        candidate = wanted + "(" + std::to_string(again) + ")";
    }
    return candidate;
}

} // namespace

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

void remember(HostState& host, const std::string& fullName,
              const std::shared_ptr<PartContent>& content)
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

Opener::Opener(HostState& hostState, const std::string& path)
    : host(hostState),
      model(step::readFile(path)),
      name(path),
      file(digestOfFile(path)),
      partDocuments(model.products.size()),
      assemblyDocuments(model.products.size())
{}

Opener::Opener(HostState& hostState, geom::Model content, std::string source)
    : host(hostState),
      model(std::move(content)),
      name(std::move(source)),
      partDocuments(model.products.size()),
      assemblyDocuments(model.products.size())
{}

std::vector<std::size_t> Opener::parts() const
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < model.products.size(); ++i) {
        if (!product(i).bodies.empty()) {
            found.push_back(i);
        }
    }
    return found;
}

std::vector<std::size_t> Opener::roots() const
{
    std::vector<bool> used(model.products.size());
    for (const geom::Product& each : model.products) {
        for (const geom::Occurrence& occurrence : each.occurrences) {
            if (occurrence.product < used.size()) {
                used[occurrence.product] = true;
            }
        }
    }
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < used.size(); ++i) {
        if (!used[i]) {
            found.push_back(i);
        }
    }
    return found;
}

void Opener::refuse(const std::string& why) const
{
    throw HostError("open " + name + ": " + why);
}

std::size_t Opener::choose(const OpenOptions& options, const std::vector<std::size_t>& candidates,
                           const char* what) const
{
    if (options.product != geom::kNone) {
        if (std::find(candidates.begin(), candidates.end(), options.product) == candidates.end()) {
            refuse("product " + std::to_string(options.product) + " is no " + what);
        }
        return options.product;
    }
    if (candidates.empty()) {
        refuse(std::string("there is no ") + what + " in it");
    }
    if (candidates.size() > 1) {
        std::string list;
        for (const std::size_t each : candidates) {
            list += (list.empty() ? "" : ", ") + std::to_string(each) + " \"" + product(each).name +
                    "\"";
        }
        refuse(std::string("there is more than one ") + what + " in it, choose: " + list);
    }
    return candidates.front();
}

std::size_t Opener::choosePart(const OpenOptions& options) const
{
    return choose(options, parts(), "part with a body");
}

std::size_t Opener::chooseAssembly(const OpenOptions& options) const
{
    std::vector<std::size_t> assemblies;
    std::vector<std::size_t> empty;
    for (std::size_t i = 0; i < model.products.size(); ++i) {
        if (!product(i).occurrences.empty()) {
            assemblies.push_back(i);
        } else if (product(i).bodies.empty()) {
            empty.push_back(i);
        }
    }
    if (options.product != geom::kNone) {
        assemblies.insert(assemblies.end(), empty.begin(), empty.end());
        return choose(options, assemblies, "assembly");
    }
    if (assemblies.empty()) {
        return choose(options, empty, "assembly");
    }
    const std::vector<std::size_t> unused = roots();
    std::vector<std::size_t> outermost;
    std::set_intersection(assemblies.begin(), assemblies.end(), unused.begin(), unused.end(),
                          std::back_inserter(outermost));
    return choose(options, outermost, "assembly that no other uses");
}

bool Opener::holdsAssembly(const OpenOptions& options) const
{
    const auto isAssembly = [](const geom::Product& each) { return !each.occurrences.empty(); };
    return options.product < model.products.size()
               ? isAssembly(product(options.product))
               : std::any_of(model.products.begin(), model.products.end(), isAssembly);
}

std::optional<PartDigest> Opener::digest(std::size_t index) const
{
    return file ? std::optional<PartDigest>(mixed(*file, index)) : std::nullopt;
}

std::shared_ptr<PartContent> Opener::takePart(std::size_t index)
{
    geom::Product& taken = model.products[index];
    const PartDigest own = file ? mixed(*file, index) : digestOf(taken.bodies);
    return std::make_shared<PartContent>(taken.name, std::move(taken.bodies), own, model.warnings);
}

std::shared_ptr<OpenDocument> Opener::openPart(std::size_t index, const std::string& fullName)
{
    requireFreeName(host, fullName);
    const std::shared_ptr<PartContent> content = takePart(index);
    remember(host, fullName, content);
    auto document = std::make_shared<OpenDocument>();
    document->replace(content);
    return open(std::move(document), fullName);
}

std::shared_ptr<OpenDocument> Opener::open(DocumentPtr document, const std::string& fullName)
{
    document->fullName = fullName;
    host.documents.push_back(document);
    return document;
}

void Opener::nameAll(const std::string& base)
{
    // Every product has its name, opened or not, so that it is called the same however it opens.
    std::set<std::string> taken;
    partNames.clear();
    assemblyNames.clear();
    for (const geom::Product& each : model.products) {
        const bool assembly = !each.occurrences.empty();
        const std::string wanted = base + "!" + each.name;
        assemblyNames.push_back(assembly ? freeName(wanted, taken) : std::string());
        partNames.push_back(assembly && each.bodies.empty() ? std::string()
                                                            : freeName(wanted, taken));
    }
}

Opener::DocumentPtr Opener::openAlready(const std::string& fullName, bool assembly,
                                        std::size_t index) const
{
    DocumentPtr found = findOpen(host, fullName);
    if (!found) {
        return nullptr;
    }
    const std::optional<PartDigest> held = found->isAssembly()
                                               ? found->assembly->digest
                                               : std::optional(found->part->content->digest());
    const std::optional<PartDigest> same = digest(index);
    if (found->isAssembly() != assembly || !same || !held || !(*held == *same)) {
        refuse("another document named " + fullName + " is open");
    }
    return found;
}

Opener::DocumentPtr Opener::shareOrOpenPart(std::size_t index)
{
    DocumentPtr& document = partDocuments[index];
    if (!document) {
        document = openPart(index, partNames[index]);
    }
    return document;
}

std::vector<std::shared_ptr<OpenDocument>>
Opener::openParts(const std::vector<std::size_t>& products, const std::string& base)
{
    nameAll(base);
    for (const std::size_t index : products) {
        partDocuments[index] = openAlready(partNames[index], false, index);
    }
    std::vector<DocumentPtr> documents;
    documents.reserve(products.size());
    for (const std::size_t index : products) {
        documents.push_back(shareOrOpenPart(index));
    }
    return documents;
}

std::size_t Opener::collect(std::size_t index, std::size_t depth, std::vector<std::size_t>& levels,
                            std::vector<std::size_t>& order) const
{
    if (index >= model.products.size()) {
        refuse("an occurrence names no product");
    }
    if (levels[index] == kOpen) {
        refuse("the assembly \"" + product(index).name + "\" contains itself");
    }
    if (levels[index] == kUnseen) {
        if (depth > kMostLevels) {
            refuse("it is too deep");
        }
        levels[index] = kOpen;
        std::size_t below = 0;
        for (const geom::Occurrence& occurrence : product(index).occurrences) {
            if (!isFinite(occurrence.placement)) {
                refuse("the placement of \"" + occurrence.name + "\" is not finite");
            }
            below = std::max(below, collect(occurrence.product, depth + 1, levels, order));
        }
        levels[index] = below + 1;
        order.push_back(index);
    }
    return levels[index];
}

std::shared_ptr<OpenDocument> Opener::openAssembly(std::size_t index, const std::string& fullName,
                                                   const std::string& base)
{
    requireFreeName(host, fullName);
    std::vector<std::size_t> levels(model.products.size(), kUnseen);
    std::vector<std::size_t> order;
    if (collect(index, 1, levels, order) > kMostLevels) {
        refuse("it is too deep");
    }
    nameAll(base);
    assemblyNames[index] = fullName;
    if (product(index).occurrences.empty()) {
        partNames[index].clear();
    }
    for (const std::size_t each : order) {
        assemblyDocuments[each] = openAlready(assemblyNames[each], true, each);
        partDocuments[each] = openAlready(partNames[each], false, each);
    }
    for (const std::size_t each : order) {
        if (!assemblyNames[each].empty() && !assemblyDocuments[each]) {
            assemblyDocuments[each] = buildAssembly(each);
        }
    }
    return assemblyDocuments[index];
}

Opener::DocumentPtr Opener::buildAssembly(std::size_t index)
{
    const geom::Product& built = product(index);
    auto assembly = std::make_shared<LiveAssembly>();
    assembly->digest = digest(index);
    assembly->warnings = model.warnings;
    std::vector<std::pair<std::string, std::string>> names;
    const auto place = [&](const std::string& occurrence, std::size_t shown,
                           const geom::Placement& placement, const DocumentPtr& document) {
        names.emplace_back(occurrence, product(shown).name);
        ++document->uses;
        PlacedDocument placed;
        placed.name = occurrence;
        placed.placement = placement;
        placed.document = document;
        assembly->placed.push_back(std::move(placed));
    };
    if (!partNames[index].empty()) {
        place(built.name, index, geom::Placement(), shareOrOpenPart(index));
    }
    for (const geom::Occurrence& occurrence : built.occurrences) {
        const std::size_t shown = occurrence.product;
        place(occurrence.name, shown, occurrence.placement,
              assemblyDocuments[shown] ? assemblyDocuments[shown] : shareOrOpenPart(shown));
    }
    std::vector<std::string> keys = occurrenceKeys(built.name, names);
    for (std::size_t i = 0; i < keys.size(); ++i) {
        assembly->placed[i].key = std::move(keys[i]);
    }
    assembly->objects.resize(assembly->placed.size());
    auto document = std::make_shared<OpenDocument>();
    document->type = igAssemblyDocument;
    document->assembly = assembly;
    assembly->owner = document;
    return open(std::move(document), assemblyNames[index]);
}

} // namespace standin
