#include "standin/Assembly.h"

#include "standin/Call.h"
#include "standin/DocumentObject.h"
#include "standin/DrawingObject.h"
#include "standin/Host.h"
#include "standin/Ids.h"

#include <utility>

namespace standin {
namespace {

class AssemblyDocument : public DocumentObject
{
public:
    AssemblyDocument(std::shared_ptr<HostState> host, std::shared_ptr<OpenDocument> openDocument)
        : DocumentObject(std::move(host), table(), std::move(openDocument))
    {}

    void occurrences(Call& call)
    {
        call.answer(asObject(occurrencesObject(hostState(), assembly())));
    }
    void createReference(Call& call) { reference(call, false); }
    void createReference2(Call& call) { reference(call, true); }

    static const ClassInfo& table();

protected:
    [[nodiscard]] const LiveAssemblyPtr& assembly() const { return opened()->assembly; }
    [[nodiscard]] IDispatchPtr objectWithKey(const std::string& key) override;

private:
    void reference(Call& call, bool mayGoOn)
    {
        call.answer(asObject(
            newReference(hostState(), assembly(), call.object(0), call.variant(1), mayGoOn)));
    }
};

IDispatchPtr AssemblyDocument::objectWithKey(const std::string& key)
{
    for (std::size_t i = 0; i < assembly()->placed.size(); ++i) {
        if (assembly()->placed[i].key == key) {
            return occurrenceObject(hostState(), {assembly(), i});
        }
    }
    return IDispatchPtr();
}

const ClassInfo& AssemblyDocument::table()
{
    static const ClassInfo info{
        "AssemblyDocument", &kIidAssemblyDocument,
        withShared({
            {38,
             "CreateReference",
             kMethod,
             {{L"Occurrence", Shape::objectIn}, {L"Entity", Shape::variantIn}},
             handle<AssemblyDocument, &AssemblyDocument::createReference>},
            {16390,
             "Occurrences",
             kGet,
             {},
             handle<AssemblyDocument, &AssemblyDocument::occurrences>},
            {24577,
             "Variables",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newVariables>>},
            {24578,
             "AsmRefPlanes",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newAsmRefPlanes>>},
            {24584,
             "Layouts",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newLayouts>>},
            // The host has a method with an argument at this number; callers that take it for
            // AsmRefPlanes read it as a property and get these.
            {24677,
             "AsmRefPlanes",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newAsmRefPlanes>>},
            bindKeyMember(24582),
            {24652,
             "CreateReference2",
             kMethod,
             {{L"Object", Shape::objectIn}, {L"Entity", Shape::variantIn}},
             handle<AssemblyDocument, &AssemblyDocument::createReference2>},
        })};
    return info;
}

} // namespace

IDispatchPtr newAssemblyDocument(const std::shared_ptr<HostState>& host,
                                 const std::shared_ptr<OpenDocument>& document)
{
    return owned(new AssemblyDocument(host, document));
}

std::vector<double> matrixOf(const geom::Placement& placement)
{
    std::vector<double> matrix;
    for (std::size_t column = 0; column < 4; ++column) {
        for (std::size_t row = 0; row < 3; ++row) {
            matrix.push_back(placement.row[row * 4 + column]);
        }
        matrix.push_back(column == 3 ? 1.0 : 0.0);
    }
    return matrix;
}

geom::Placement combined(const geom::Placement& outer, const geom::Placement& inner)
{
    geom::Placement both;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            double sum = column == 3 ? outer.row[row * 4 + 3] : 0.0;
            for (std::size_t k = 0; k < 3; ++k) {
                sum += outer.row[row * 4 + k] * inner.row[k * 4 + column];
            }
            both.row[row * 4 + column] = sum;
        }
    }
    return both;
}

} // namespace standin
