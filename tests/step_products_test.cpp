#include "standin/step/StepFile.h"
#include "support/StepText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace {

using standin::geom::Model;
using standin::geom::Occurrence;
using standin::geom::Placement;
using standin::geom::Product;
using standin::step::StepError;
using test::disc;
using test::metres;
using test::product;
using test::replaced;
using test::stepFile;
using test::tetrahedron;

Model modelOf(const std::string& data)
{
    return standin::step::readText(stepFile(data), "folder/some.part.step");
}

bool warns(const Model& model, const std::string& word)
{
    return std::any_of(model.warnings.begin(), model.warnings.end(), [&](const std::string& line) {
        return line.find(word) != std::string::npos;
    });
}

void expectFault(const std::string& data, const std::string& word, long entity)
{
    SCOPED_TRACE(data);
    try {
        (void)modelOf(data);
        FAIL() << "nothing was raised";
    } catch (const StepError& error) {
        EXPECT_NE(std::string(error.what()).find(word), std::string::npos) << error.what();
        EXPECT_NE(std::string(error.what()).find("folder/some.part.step: "), std::string::npos);
        EXPECT_EQ(error.entity(), entity) << error.what();
    }
}

std::string partText()
{
    return metres() + product("#100") + tetrahedron();
}

// Parts

TEST(StepProduct, APartHoldsTheBodiesOfItsShape)
{
    const Model model = modelOf(partText());
    ASSERT_EQ(model.products.size(), 1U);
    EXPECT_EQ(model.roots, std::vector<std::size_t>{0});
    const Product& part = model.products[0];
    EXPECT_EQ(part.name, "part");
    EXPECT_EQ(part.entity, 912);
    ASSERT_EQ(part.bodies.size(), 1U);
    EXPECT_EQ(part.bodies[0].entity, 100);
    EXPECT_TRUE(part.occurrences.empty());
    EXPECT_TRUE(model.warnings.empty()) << model.warnings[0];
}

TEST(StepProduct, NamesAreTheProducts)
{
    const auto named = [](const std::string& names) {
        return modelOf(replaced(partText(), "PRODUCT('part','','',", "PRODUCT(" + names + ",'',"))
            .products[0]
            .name;
    };
    EXPECT_EQ(named("'id','name'"), "name");
    EXPECT_EQ(named("'id',''"), "id");
    EXPECT_EQ(named("'id','Gr\\X2\\00F6\\X0\\sse'"), "Gr\xC3\xB6sse");
}

TEST(StepProduct, ARelatedRepresentationBelongsToThePart)
{
    for (const char* pair : {"#914,#920", "#920,#914"}) {
        const Model model =
            modelOf(metres() + product("#930") + tetrahedron() +
                    "#920=FACETED_BREP_SHAPE_REPRESENTATION('',(#100),#900);\n"
                    "#921=SHAPE_REPRESENTATION_RELATIONSHIP('',''," +
                    std::string(pair) + ");\n#930=AXIS2_PLACEMENT_3D('',#111,$,$);\n");
        ASSERT_EQ(model.products.size(), 1U);
        EXPECT_EQ(model.products[0].entity, 912);
        EXPECT_EQ(model.products[0].bodies.size(), 1U);
        EXPECT_TRUE(model.warnings.empty());
    }
}

TEST(StepProduct, ARelationBetweenTwoPartsMixesNothing)
{
    const Model model = modelOf(partText() + disc() +
                                "#950=PRODUCT('other','','',(#999));\n"
                                "#951=PRODUCT_DEFINITION_FORMATION('','',#950);\n"
                                "#952=PRODUCT_DEFINITION('','',#951,#999);\n"
                                "#953=PRODUCT_DEFINITION_SHAPE('','',#952);\n"
                                "#954=SHAPE_REPRESENTATION('',(#200),#900);\n"
                                "#955=SHAPE_DEFINITION_REPRESENTATION(#953,#954);\n"
                                "#956=SHAPE_REPRESENTATION_RELATIONSHIP('','',#914,#954);\n");
    ASSERT_EQ(model.products.size(), 2U);
    ASSERT_EQ(model.products[0].bodies.size(), 1U);
    EXPECT_EQ(model.products[0].bodies[0].entity, 100);
    ASSERT_EQ(model.products[1].bodies.size(), 1U);
    EXPECT_EQ(model.products[1].bodies[0].entity, 200);
}

TEST(StepProduct, ABodyInTwoRepresentationsOfAPartComesOnce)
{
    const Model model =
        modelOf(partText() + "#920=FACETED_BREP_SHAPE_REPRESENTATION('',(#100),#900);\n"
                             "#921=SHAPE_REPRESENTATION_RELATIONSHIP('','',#914,#920);\n");
    EXPECT_EQ(model.products[0].bodies.size(), 1U);
}

TEST(StepProduct, AShapeMayBeGivenThroughAPropertyOrAnAspect)
{
    const Model model =
        modelOf(metres() + product("") + tetrahedron() +
                "#940=PROPERTY_DEFINITION('','',#941);\n#941=SHAPE_ASPECT('','',#913,.F.);\n"
                "#942=SHAPE_REPRESENTATION('',(#100),#900);\n"
                "#943=SHAPE_DEFINITION_REPRESENTATION(#940,#942);\n");
    ASSERT_EQ(model.products.size(), 1U);
    EXPECT_EQ(model.products[0].bodies.size(), 1U);
}

TEST(StepProduct, DefinitionsWithoutAShapeAreNotProducts)
{
    const Model model = modelOf(partText() + "#950=PRODUCT('steel','','',(#999));\n"
                                             "#951=PRODUCT_DEFINITION_FORMATION('','',#950);\n"
                                             "#952=PRODUCT_DEFINITION('','',#951,#999);\n");
    EXPECT_EQ(model.products.size(), 1U);
    EXPECT_EQ(model.roots.size(), 1U);
}

TEST(StepProduct, BodiesOfNoProductComeUnderTheNameOfTheFile)
{
    const std::string shape = "#920=SHAPE_REPRESENTATION('',(#100),#900);\n";
    for (const std::string& data : {metres() + tetrahedron() + shape, metres() + tetrahedron()}) {
        const Model model = modelOf(data);
        ASSERT_EQ(model.products.size(), 1U);
        EXPECT_EQ(model.products[0].name, "some.part");
        EXPECT_EQ(model.products[0].bodies.size(), 1U);
        EXPECT_EQ(model.roots.size(), 1U);
    }
}

TEST(StepProduct, BodiesOutsideTheProductComeBesideIt)
{
    const Model model = modelOf(partText() + disc());
    ASSERT_EQ(model.products.size(), 2U);
    EXPECT_EQ(model.products[0].bodies[0].entity, 100);
    EXPECT_EQ(model.products[1].name, "some.part");
    EXPECT_EQ(model.products[1].bodies[0].entity, 200);
}

TEST(StepProduct, EveryRepresentationHasItsOwnUnits)
{
    const Model model =
        modelOf(partText() + disc() +
                "#960=SHAPE_REPRESENTATION('',(#200),#961);\n"
                "#961=(GEOMETRIC_REPRESENTATION_CONTEXT(3)GLOBAL_UNIT_ASSIGNED_CONTEXT((#962,#902))"
                "REPRESENTATION_CONTEXT('',''));\n"
                "#962=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.CENTI.,.METRE.));\n");
    EXPECT_EQ(model.products[0].bodies[0].vertices[1].point.y, 1.0);
    EXPECT_DOUBLE_EQ(model.products[1].bodies[0].vertices[0].point.x, 0.02);
}

TEST(StepProduct, ABodyWhoseUnitsAreUnknownIsRefused)
{
    const std::string two =
        "#961=(GEOMETRIC_REPRESENTATION_CONTEXT(3)GLOBAL_UNIT_ASSIGNED_CONTEXT((#962))"
        "REPRESENTATION_CONTEXT('',''));\n"
        "#962=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.CENTI.,.METRE.));\n";
    const Model model = modelOf(partText() + disc() + two);
    EXPECT_EQ(model.products.size(), 1U);
    EXPECT_TRUE(warns(model, "units are not known"));
    expectFault(replaced(partText(), "(#901,#902)", "(#902)"), "no unit of length", 900);
    expectFault(tetrahedron(), "units are not known", 100);
}

// What can't be read

TEST(StepProduct, ABodyWithABrokenFaceIsNamedAndTheOthersOpen)
{
    const Model model = modelOf(metres() + product("#100,#200") + disc() +
                                replaced(tetrahedron(), "(#131)", "(#77)"));
    ASSERT_EQ(model.products[0].bodies.size(), 1U);
    EXPECT_EQ(model.products[0].bodies[0].entity, 200);
    ASSERT_EQ(model.warnings.size(), 1U);
    for (const char* word : {"FACETED_BREP #100", "left out", "face #121", "#77"}) {
        EXPECT_TRUE(warns(model, word)) << word << " in " << model.warnings[0];
    }
}

TEST(StepProduct, WithoutAnyBodyTheFirstReasonIsTheError)
{
    expectFault(replaced(partText(), "(#131)", "(#77)"), "face #121", 121);
    expectFault(metres() + product("#930") + "#930=AXIS2_PLACEMENT_3D('',#111,$,$);\n",
                "no solid and no surface model", 0);
    expectFault("#1=A();\n", "no solid and no surface model", 0);
    expectFault("", "no solid and no surface model", 0);
}

TEST(StepProduct, OtherItemsAreCountedByKind)
{
    const Model model =
        modelOf(metres() + product("#100,#930,#931,#932") + tetrahedron() +
                "#930=GEOMETRIC_SET('',());\n#931=GEOMETRIC_SET('',());\n#932=CSG_SOLID('',#1);\n");
    ASSERT_EQ(model.warnings.size(), 2U);
    EXPECT_TRUE(warns(model, "GEOMETRIC_SET"));
    EXPECT_TRUE(warns(model, "2 in all, the first is #930"));
    EXPECT_TRUE(warns(model, "CSG_SOLID"));
}

TEST(StepProduct, FacesOfNoBodyAreCounted)
{
    const Model model =
        modelOf(partText() + replaced(disc(), "#200=SHELL_BASED_SURFACE_MODEL", "#200=OTHER"));
    ASSERT_EQ(model.warnings.size(), 1U);
    EXPECT_TRUE(warns(model, "ADVANCED_FACE: belongs to no body"));
}

TEST(StepProduct, LooksAndAnnotationsAreCounted)
{
    const Model model = modelOf(
        partText() + "#970=STYLED_ITEM('',(),#100);\n#971=STYLED_ITEM('',(),#100);\n"
                     "#972=DRAUGHTING_CALLOUT('',());\n#973=FLATNESS_TOLERANCE('','',#1,#2);\n");
    ASSERT_EQ(model.warnings.size(), 3U);
    EXPECT_TRUE(warns(model, "STYLED_ITEM: no shape, left out, 2 in all, the first is #970"));
    EXPECT_TRUE(warns(model, "DRAUGHTING_CALLOUT"));
    EXPECT_TRUE(warns(model, "tolerances"));
}

TEST(StepProduct, AnUnknownSchemaIsNamed)
{
    for (const char* schema :
         {"CONFIG_CONTROL_DESIGN", "AUTOMOTIVE_DESIGN { 1 0 10303 214 1 1 1 1 }",
          "AP242_MANAGED_MODEL_BASED_3D_ENGINEERING_MIM_LF"}) {
        const std::string text = replaced(stepFile(partText()), "AUTOMOTIVE_DESIGN", schema);
        EXPECT_TRUE(standin::step::readText(text, "x").warnings.empty()) << schema;
    }
    const Model model =
        standin::step::readText(replaced(stepFile(partText()), "AUTOMOTIVE_DESIGN", "IFC4"), "x");
    EXPECT_TRUE(warns(model, "schema IFC4"));
}

// Assemblies

// An assembly #812 of the part, its placement from the axes #830 (part) to #840 (assembly).
std::string assembly(const std::string& relation, const std::string& items)
{
    return "#810=PRODUCT('whole','','',(#999));\n#811=PRODUCT_DEFINITION_FORMATION('','',#810);\n"
           "#812=PRODUCT_DEFINITION('','',#811,#999);\n"
           "#813=PRODUCT_DEFINITION_SHAPE('','',#812);\n"
           "#814=SHAPE_REPRESENTATION('',(#840),#900);\n"
           "#815=SHAPE_DEFINITION_REPRESENTATION(#813,#814);\n"
           "#820=NEXT_ASSEMBLY_USAGE_OCCURRENCE('1','left','',#812,#912,$);\n"
           "#821=PRODUCT_DEFINITION_SHAPE('','',#820);\n"
           "#822=CONTEXT_DEPENDENT_SHAPE_REPRESENTATION(#823,#821);\n"
           "#823=(REPRESENTATION_RELATIONSHIP('',''," +
           relation +
           ")REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION(#824)"
           "SHAPE_REPRESENTATION_RELATIONSHIP());\n#824=ITEM_DEFINED_TRANSFORMATION('',''," +
           items +
           ");\n"
           "#830=AXIS2_PLACEMENT_3D('',#831,#832,#833);\n#831=CARTESIAN_POINT('',(1.,0.,0.));\n"
           "#832=DIRECTION('',(0.,0.,1.));\n#833=DIRECTION('',(1.,0.,0.));\n"
           "#840=AXIS2_PLACEMENT_3D('',#841,#842,#843);\n#841=CARTESIAN_POINT('',(10.,20.,30.));\n"
           "#842=DIRECTION('',(1.,0.,0.));\n#843=DIRECTION('',(0.,1.,0.));\n";
}

std::string axisPartText()
{
    return metres() + product("#100,#830") + tetrahedron();
}

void expectRows(const Placement& placement, const std::array<double, 12>& rows)
{
    for (std::size_t i = 0; i < 12; ++i) {
        EXPECT_NEAR(placement.row[i], rows[i], 1e-15) << "number " << i;
    }
}

// The part's x goes to the assembly's y, y to z, z to x; (1, 0, 0) goes to (10, 20, 30), so the
// part's origin to (10, 19, 30).
constexpr std::array<double, 12> kPlaced{0, 0, 1, 10, 1, 0, 0, 19, 0, 1, 0, 30};

TEST(StepAssembly, AnOccurrenceIsPlacedFromItsPartToItsAssembly)
{
    const Model model = modelOf(axisPartText() + assembly("#914,#814", "#830,#840"));
    ASSERT_EQ(model.products.size(), 2U);
    EXPECT_EQ(model.roots, std::vector<std::size_t>{1});
    const Product& whole = model.products[1];
    EXPECT_EQ(whole.name, "whole");
    EXPECT_TRUE(whole.bodies.empty());
    ASSERT_EQ(whole.occurrences.size(), 1U);
    EXPECT_EQ(whole.occurrences[0].name, "left");
    EXPECT_EQ(whole.occurrences[0].entity, 820);
    EXPECT_EQ(whole.occurrences[0].product, 0U);
    expectRows(whole.occurrences[0].placement, kPlaced);
    EXPECT_TRUE(model.warnings.empty()) << model.warnings[0];
}

TEST(StepAssembly, TheAssemblyMayStandFirst)
{
    const Model model = modelOf(axisPartText() + assembly("#814,#914", "#840,#830"));
    expectRows(model.products[1].occurrences[0].placement, kPlaced);
}

TEST(StepAssembly, ItemsAreFoundInTheirRepresentations)
{
    // The representations are exchanged, the items are not.
    const Model model = modelOf(axisPartText() + assembly("#814,#914", "#830,#840"));
    expectRows(model.products[1].occurrences[0].placement, kPlaced);
}

TEST(StepAssembly, PlacementsComeInMetres)
{
    const std::string data =
        replaced(axisPartText(), "SI_UNIT($,.METRE.)", "SI_UNIT(.CENTI.,.METRE.)");
    const Model model = modelOf(data + assembly("#914,#814", "#830,#840"));
    const Placement& placement = model.products[1].occurrences[0].placement;
    EXPECT_NEAR(placement.row[3], 0.10, 1e-15);
    EXPECT_NEAR(placement.row[7], 0.19, 1e-15);
    EXPECT_NEAR(placement.row[11], 0.30, 1e-15);
}

TEST(StepAssembly, PartAndAssemblyMayHaveDifferentUnits)
{
    // The part in centimetres: its axes stand at 0.01 m, so its origin at 20 - 0.01.
    const std::string data =
        replaced(axisPartText(), "SHAPE_REPRESENTATION('',(#100,#830),#900)",
                 "SHAPE_REPRESENTATION('',(#100,#830),#903)") +
        "#903=(GEOMETRIC_REPRESENTATION_CONTEXT(3)GLOBAL_UNIT_ASSIGNED_CONTEXT((#904,#902))"
        "REPRESENTATION_CONTEXT('',''));\n"
        "#904=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.CENTI.,.METRE.));\n";
    const Model model = modelOf(data + assembly("#914,#814", "#830,#840"));
    EXPECT_NEAR(model.products[1].occurrences[0].placement.row[7], 19.99, 1e-14);
    EXPECT_DOUBLE_EQ(model.products[0].bodies[0].vertices[1].point.y, 0.01);
}

TEST(StepAssembly, AnOccurrenceWithoutANameHasItsIdentifier)
{
    const Model model = modelOf(
        axisPartText() + replaced(assembly("#914,#814", "#830,#840"), "'1','left'", "'1',''"));
    EXPECT_EQ(model.products[1].occurrences[0].name, "1");
}

TEST(StepAssembly, WithoutAPlacementThePartStandsAtTheOriginAndAWarningSaysSo)
{
    const Model model = modelOf(
        axisPartText() + replaced(assembly("#914,#814", "#830,#840"),
                                  "#822=CONTEXT_DEPENDENT_SHAPE_REPRESENTATION(#823,#821);\n", ""));
    expectRows(model.products[1].occurrences[0].placement, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0});
    EXPECT_TRUE(warns(model, "without a placement"));
}

TEST(StepAssembly, ABrokenPlacementOrOccurrenceIsNamed)
{
    Model model = modelOf(axisPartText() + assembly("#914,#814", "#830,#77"));
    EXPECT_TRUE(warns(model, "#77"));
    EXPECT_EQ(model.products[1].occurrences.size(), 1U);
    model = modelOf(axisPartText() +
                    replaced(assembly("#914,#814", "#830,#840"), "#812,#912,$", "#812,#77,$"));
    EXPECT_TRUE(warns(model, "#77 is no product definition"));
    EXPECT_EQ(model.products.size(), 1U);
}

TEST(StepAssembly, AnAssemblyInsideItselfIsRefused)
{
    const std::string once = axisPartText() + assembly("#914,#814", "#830,#840");
    expectFault(once + "#880=NEXT_ASSEMBLY_USAGE_OCCURRENCE('2','','',#812,#812,$);\n",
                "'whole' contains itself", 880);
    // Of two that use each other the walk begins at the first, the part; the use that leads back
    // to it is named.
    expectFault(once + "#880=NEXT_ASSEMBLY_USAGE_OCCURRENCE('2','','',#912,#812,$);\n",
                "'part' contains itself", 820);
}

TEST(StepAssembly, ALongChainOfAssembliesIsNoProblem)
{
    std::string data = partText();
    constexpr int kCount = 20000;
    for (int i = 0; i < kCount; ++i) {
        const std::string own = std::to_string(2000000 + i);
        const std::string child = i == 0 ? "912" : std::to_string(2000000 + i - 1);
        data += "#" + own + "=PRODUCT_DEFINITION('','',#911,#999);\n#" +
                std::to_string(3000000 + i) + "=NEXT_ASSEMBLY_USAGE_OCCURRENCE('','','',#" + own +
                ",#" + child + ",$);\n";
    }
    const Model model = modelOf(data);
    EXPECT_EQ(model.products.size(), std::size_t{kCount} + 1);
    EXPECT_EQ(model.roots.size(), 1U);
}

// Mapped items

std::string mapText()
{
    return "#850=MAPPED_ITEM('copy',#851,#840);\n"
           "#851=REPRESENTATION_MAP(#830,#852);\n";
}

std::string axes()
{
    const std::string all = assembly("#914,#814", "#830,#840");
    return all.substr(all.find("#830=AXIS2"));
}

TEST(StepAssembly, AMappedRepresentationOfNoProductBecomesOne)
{
    const Model model =
        modelOf(metres() + product("#850,#860") + tetrahedron() + mapText() + axes() +
                "#852=SHAPE_REPRESENTATION('block',(#100),#900);\n"
                "#860=MAPPED_ITEM('other',#851,#830);\n");
    ASSERT_EQ(model.products.size(), 2U);
    EXPECT_EQ(model.roots, std::vector<std::size_t>{0});
    ASSERT_EQ(model.products[0].occurrences.size(), 2U);
    EXPECT_EQ(model.products[0].occurrences[0].name, "copy");
    EXPECT_EQ(model.products[0].occurrences[0].product, 1U);
    EXPECT_EQ(model.products[0].occurrences[1].product, 1U);
    expectRows(model.products[0].occurrences[0].placement, kPlaced);
    EXPECT_EQ(model.products[1].name, "block");
    EXPECT_EQ(model.products[1].bodies.size(), 1U);
}

TEST(StepAssembly, AMappedItemMayPlaceAnOccurrence)
{
    std::string data = replaced(assembly("#914,#814", "#830,#840"),
                                "#822=CONTEXT_DEPENDENT_SHAPE_REPRESENTATION(#823,#821);\n", "");
    data = replaced(data, "'',(#840),#900", "'',(#840,#850),#900");
    const Model model = modelOf(axisPartText() + data + replaced(mapText(), "#852", "#914"));
    ASSERT_EQ(model.products[1].occurrences.size(), 1U);
    expectRows(model.products[1].occurrences[0].placement, kPlaced);
    EXPECT_FALSE(warns(model, "without a placement"));
}

TEST(StepAssembly, AMappedItemThatRepeatsAnOccurrenceAddsNone)
{
    const std::string data =
        replaced(assembly("#914,#814", "#830,#840"), "'',(#840),#900", "'',(#840,#850),#900");
    const Model model = modelOf(axisPartText() + data + replaced(mapText(), "#852", "#914"));
    EXPECT_EQ(model.products[1].occurrences.size(), 1U);
}

TEST(StepAssembly, AMappedItemThatHoldsItselfIsRefused)
{
    expectFault(metres() + product("#100,#850") + tetrahedron() +
                    replaced(mapText(), "#852", "#914") + axes(),
                "contains itself", 850);
}

TEST(StepAssembly, TransformationOperatorsMoveButDoNotScaleOrMirror)
{
    const auto moved = [](const std::string& attributes) {
        return modelOf(metres() + product("#850") + tetrahedron() + axes() +
                       replaced(mapText(), "#840", "#870") +
                       "#852=SHAPE_REPRESENTATION('block',(#100),#900);\n"
                       "#870=CARTESIAN_TRANSFORMATION_OPERATOR_3D(''," +
                       attributes + ");\n#871=DIRECTION('',(0.,0.,-1.));\n");
    };
    // Axis 1 is #843 (0, 1, 0), axis 3 is #842 (1, 0, 0): the same axes as #840.
    Model model = moved("#843,$,#841,1.,#842");
    expectRows(model.products[0].occurrences[0].placement, kPlaced);
    model = moved("#843,#832,#841,$,#842"); // axis 2 is (0, 0, 1), as it should be
    expectRows(model.products[0].occurrences[0].placement, kPlaced);
    EXPECT_TRUE(warns(moved("#843,$,#841,2.,#842"), "scale"));
    EXPECT_TRUE(warns(moved("#843,#871,#841,1.,#842"), "mirror"));
}

} // namespace
