#include "Inspection/parts/partfaults.h"

#include "Inspection/maps/flattening.h"
#include "Inspection/parts/partcheck.h"
#include "Inspection/parts/partcrop.h"
#include "Inspection/parts/tubecut.h"
#include "tests/inspection/parts/partshapes.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <sstream>
#include <utility>

namespace QELT::Inspection {
namespace {

using namespace Testing;

std::vector<PartFault> faultsIn(FaceMesh const& mesh) {
    return faultsOf(mesh, analysePart(mesh), "p/wing.stl");
}

std::vector<FaultKind> kindsIn(std::vector<PartFault> const& faults) {
    std::vector<FaultKind> kinds;
    for (PartFault const& fault : faults) {
        kinds.push_back(fault.kind);
    }
    return kinds;
}

std::vector<std::string> nextOf(FaceMesh const& mesh) {
    PartAnalysis const analysis = analysePart(mesh);
    return nextCommands(analysis, faultsOf(mesh, analysis, "p/wing.stl"), "p/wing.stl");
}

std::string const repair = "cscan import p/wing.stl p/wing_repaired.obj --repair";

TEST(PartFaults, ASoundSheetHasNoneAndIsPreparedNext) {
    EXPECT_TRUE(faultsIn(flatSheet(40, 30)).empty());
    EXPECT_EQ(nextOf(flatSheet(40, 30)),
              std::vector<std::string>{"cscan prepare p/wing.stl p/wing.quads --pixel 0.2"});
}

TEST(PartFaults, OfBrokenFacesAreMendedWithOneCommand) {
    FaceMesh mesh = flatSheet(30, 30);
    mesh.faces.push_back({0, 1, 2000});
    mesh.faces.push_back({2, 2, 3});
    mesh.faces.push_back(mesh.faces[4]);
    std::swap(mesh.faces[13][0], mesh.faces[13][1]);
    mesh.points.emplace_back(1.0, 1.0, 5.0);
    auto const faults = faultsIn(mesh);
    using enum FaultKind;
    ASSERT_EQ(kindsIn(faults),
              (std::vector{StrayFaces, CollapsedFaces, DuplicateFaces, Windings, UnusedPoints}));
    EXPECT_EQ(faults[0].cause, "1 face names a point that is not there");
    EXPECT_EQ(faults[0].place, "face 1801, the first near (0, 0, 0)");
    EXPECT_EQ(faults[1].cause, "1 face names a point twice");
    EXPECT_EQ(faults[2].cause, "1 face stands there a second time");
    EXPECT_EQ(faults[3].cause, "1 face runs against the others around it");
    EXPECT_EQ(faults[3].place, "face 14, the first near (6.33333, 0.666667, 0)");
    EXPECT_EQ(faults[4].cause, "1 point belongs to no face and will be left out");
    for (PartFault const& fault : faults) {
        EXPECT_EQ(fault.isInTheWay, fault.kind != UnusedPoints);
    }
    EXPECT_EQ(nextOf(mesh), (std::vector<std::string>{repair, "cscan check p/wing_repaired.obj"}));
}

TEST(PartFaults, ManyUnusedPointsMeanThatTheFileMayBeCutOff) {
    FaceMesh mesh = flatSheet(4, 4);
    mesh.faces.resize(16);
    auto const faults = faultsIn(mesh);
    ASSERT_EQ(kindsIn(faults), std::vector{FaultKind::UnusedPoints});
    EXPECT_TRUE(faults[0].isInTheWay);
    EXPECT_EQ(faults[0].cause, "10 points belong to no face: so it is where a file was cut off");
    EXPECT_EQ(faults[0].remedy, "compare with the program it is from; if it is whole: " + repair);
}

TEST(PartFaults, TellCrowdedSidesAndPinchedPoints) {
    FaceMesh crowded = flatSheet(2, 1);
    crowded.points.emplace_back(1.0, 0.5, 1.0);
    crowded.faces.push_back({1, 4, 6});
    auto faults = faultsIn(crowded);
    ASSERT_EQ(faults[0].kind, FaultKind::CrowdedSides);
    EXPECT_EQ(faults[0].cause, "1 side has more than two faces");
    EXPECT_EQ(faults[0].place, "points 2-5, the first near (1, 0.5, 0)");
    EXPECT_EQ(faults[0].remedy, repair);
    FaceMesh pinched = flatSheet(3, 3);
    pinched.faces.erase(pinched.faces.begin() + 8, pinched.faces.begin() + 10);
    pinched.faces.erase(pinched.faces.begin(), pinched.faces.begin() + 2);
    faults = faultsIn(pinched);
    ASSERT_EQ(faults[0].kind, FaultKind::PinchedPoints);
    EXPECT_EQ(faults[0].cause, "sheets meet in 1 point alone");
    EXPECT_EQ(faults[0].place, "point 6, the first near (1, 1, 0)");
}

TEST(PartFaults, TellPiecesAndWhetherWeldingJoinsThem) {
    FaceMesh apart = flatSheet(4, 4);
    append(apart, flatSheet(2, 2), {10.0, 0.0, 0.0});
    auto const faults = faultsIn(apart);
    ASSERT_EQ(kindsIn(faults), std::vector{FaultKind::Pieces});
    EXPECT_EQ(faults[0].cause, "2 pieces that share no side; outside the largest 8 faces");
    EXPECT_EQ(faults[0].place, "the second from face 33 on near (10.6667, 0.333333, 0)");
    EXPECT_EQ(faults[0].remedy, repair + " --keep-largest");
    FaceMesh seam = flatSheet(4, 4);
    append(seam, flatSheet(2, 4), {4.0, 0.0, 0.0});
    EXPECT_EQ(faultsIn(seam)[0].remedy, repair);
    EXPECT_EQ(kindsIn(faultsIn(seam)), (std::vector{FaultKind::Pieces, FaultKind::CoincidentPoints}));
}

TEST(PartFaults, OfClosedPartsNameTheCommandThatCutsAFaceOut) {
    auto const ofSphere = faultsIn(sphere(40, 60));
    ASSERT_EQ(kindsIn(ofSphere), std::vector{FaultKind::Closed});
    EXPECT_EQ(ofSphere[0].cause, "the part is closed, it has no rim");
    EXPECT_EQ(ofSphere[0].remedy.rfind("cscan crop p/wing.stl p/wing_face.obj --facing ", 0), 0U);
    auto const ofBox = faultsIn(box(10.0, 20.0, 30.0));
    ASSERT_EQ(kindsIn(ofBox), (std::vector{FaultKind::Closed, FaultKind::Facets}));
    EXPECT_EQ(ofBox[0].remedy, "cscan crop p/wing.stl p/wing_face.obj --grow 0,6.66667,20 --crease 30");
    EXPECT_TRUE(ofBox[0].isInTheWay);
    EXPECT_FALSE(ofBox[1].isInTheWay);
}

/// A sphere with a hole around its upper pole.
FaceMesh nearlyClosedSphere() {
    FaceMesh mesh = sphere(40, 60);
    CropChoice belowPole;
    belowPole.boxes = {{Point(-20.0, -20.0, -20.0), Point(20.0, 20.0, 9.0)}};
    cropFaces(mesh, belowPole);
    return mesh;
}

/// What is cut out by the axis that a command names.
FaceMesh croppedAsTold(FaceMesh mesh, std::string const& command) {
    std::array<double, 3> way{};
    std::string const option = "--facing ";
    EXPECT_NE(command.find(option), std::string::npos) << command;
    std::istringstream numbers(command.substr(command.find(option) + option.size()));
    char comma = ' ';
    numbers >> way[0] >> comma >> way[1] >> comma >> way[2];
    CropChoice choice;
    choice.facing = CropFacing{Vector(way[0], way[1], way[2]), fullTurn / 6.0};
    choice.islandShare = 0.01;
    cropFaces(mesh, choice);
    return mesh;
}

TEST(PartFaults, OfANearlyClosedPartNameACutThatOpensIt) {
    auto const faults = faultsIn(nearlyClosedSphere());
    auto const kinds = kindsIn(faults);
    auto const found = std::find(kinds.begin(), kinds.end(), FaultKind::NearlyClosed);
    ASSERT_NE(found, kinds.end());
    PartFault const& fault = faults[static_cast<std::size_t>(found - kinds.begin())];
    EXPECT_FALSE(fault.isInTheWay);
    std::string const command = cutOutCommand(nearlyClosedSphere(), "p/wing.stl");
    EXPECT_EQ(fault.remedy, "if cscan prepare refuses it: " + command);
    auto const left = kindsIn(faultsIn(croppedAsTold(nearlyClosedSphere(), command)));
    EXPECT_EQ(std::count(left.begin(), left.end(), FaultKind::NearlyClosed), 0);
}

/// Creases run around one point alone: a cut along them leaves the spike, or all but it, as its greatest face
/// lies on the spike or not.
TEST(PartFaults, ACutAlongCreasesIsNamedOnlyIfItOpensThePart) {
    for (auto const& [point, height] : {std::pair{600U, 0.3}, std::pair{130U, 0.1}}) {
        FaceMesh spiked = nearlyClosedSphere();
        spiked.points[point] = spiked.points[point] + (spiked.points[point] - Point(0.0, 0.0, 0.0)) * height;
        PartAnalysis const analysis = analysePart(spiked, 0.05);
        ASSERT_GT(analysis.largestJump.angle, fullTurn / 12.0);
        auto const faults = faultsOf(spiked, analysis, "p/wing.stl");
        ASSERT_EQ(kindsIn(faults), (std::vector{FaultKind::NearlyClosed, FaultKind::Facets}));
        EXPECT_EQ(faults[0].remedy.find("--grow"), std::string::npos) << faults[0].remedy;
        EXPECT_EQ(faults[1].remedy.find("--grow"), std::string::npos) << faults[1].remedy;
    }
}

/// A bent plate as a modeller exports it: long strips, and ends of two faces that are the largest of all.
FaceMesh bentPlate() {
    constexpr unsigned strips = 40;
    FaceMesh mesh;
    for (unsigned k = 0; k <= strips; ++k) {
        double const angle = fullTurn / 3.6 * (k / double{strips} - 0.5);
        for (double const radius : {75.0, 80.0}) {
            for (double const y : {0.0, 120.0}) {
                mesh.points.emplace_back(radius * std::sin(angle), y, radius * std::cos(angle));
            }
        }
    }
    for (unsigned a = 0; a < 4 * strips; a += 4) { // inner points a and a + 1, outer ones a + 2 and a + 3
        addSquare(mesh, a + 2, a + 6, a + 7, a + 3);
        addSquare(mesh, a, a + 1, a + 5, a + 4);
        addSquare(mesh, a, a + 4, a + 6, a + 2);
        addSquare(mesh, a + 1, a + 3, a + 7, a + 5);
    }
    addSquare(mesh, 0, 2, 3, 1);
    addSquare(mesh, 4 * strips, 4 * strips + 1, 4 * strips + 3, 4 * strips + 2);
    return mesh;
}

TEST(PartFaults, OfAThinPlateTheLargestSmoothSideIsCutOut) {
    auto const faults = faultsIn(bentPlate());
    ASSERT_EQ(faults.at(0).kind, FaultKind::Closed);
    PartAnalysis const analysis = analysePart(bentPlate());
    CropChoice choice;
    choice.growth = CropGrowth{analysis.placeOnLargestPatch, patchCrease};
    FaceMesh face = bentPlate();
    EXPECT_EQ(cropFaces(face, choice).keptCount, 80U);
    EXPECT_NEAR(analysePart(face).area, 80.0 * fullTurn / 3.6 * 120.0, 5.0);
    EXPECT_NE(faults[0].remedy.find(" --grow "), std::string::npos) << faults[0].remedy;
}

/// What bends by more than the crease here and there is noise, and a cut along it would be full of holes.
TEST(PartFaults, ANoisyPartIsNotCutAlongItsNoise) {
    FaceMesh mesh = sphere(80, 120);
    std::mt19937 random(7);
    for (int i = 0; i < 60; ++i) {
        Point& point = mesh.points[random() % 9600];
        point = point + (point - Point(0.0, 0.0, 0.0)) * 0.05;
    }
    ASSERT_GT(analysePart(mesh).largestJump.angle, patchCrease);
    EXPECT_EQ(faultsIn(mesh).at(0).remedy.find(" --grow "), std::string::npos);
}

TEST(PartFaults, NoCutIsNamedThatLeavesThePartAsItIs) {
    EXPECT_EQ(cutOutCommand(flatSheet(20, 20), "p/wing.stl"), "");
}

TEST(PartFaults, OfACloudAreNoneButTheSurfaceThatIsMissing) {
    FaceMesh const cloud{flatSheet(3, 3).points, {}};
    ASSERT_EQ(kindsIn(faultsIn(cloud)), std::vector{FaultKind::NoFaces});
    EXPECT_FALSE(isAnyInTheWay(faultsIn(cloud)));
    EXPECT_EQ(nextOf(cloud), (std::vector<std::string>{"cscan reconstruct p/wing.stl p/wing.obj",
                                                       "cscan check p/wing.obj"}));
    EXPECT_TRUE(isAnyInTheWay(faultsIn({})));
}

TEST(PartFaults, NeedNoRepairWhereTheCutLeavesThemOut) {
    FaceMesh mesh = sphere(40, 60);
    append(mesh, sphere(5, 8, 1.0), {30.0, 0.0, 0.0});
    ASSERT_EQ(kindsIn(faultsIn(mesh)), (std::vector{FaultKind::Pieces, FaultKind::Closed}));
    ASSERT_EQ(nextOf(mesh).size(), 1U);
    EXPECT_EQ(nextOf(mesh)[0].rfind("cscan crop ", 0), 0U);
    std::swap(mesh.faces[9][0], mesh.faces[9][1]);
    EXPECT_EQ(nextOf(mesh),
              (std::vector<std::string>{repair + " --keep-largest", "cscan check p/wing_repaired.obj"}));
}

TEST(PartFaults, OfATubeNameACutThatWorks) {
    ScratchDirectory const directory;
    FaceMesh const mesh = tube(20, 40);
    writeFaces(mesh, directory / "tube.obj");
    auto const faults = faultsOf(mesh, analysePart(mesh), "tube.obj");
    ASSERT_FALSE(faults.empty());
    ASSERT_EQ(faults[0].kind, FaultKind::Tube);
    EXPECT_EQ(faults[0].remedy, "cscan cut tube.obj tube_slit.obj --metric max --axis z --across x");
    EXPECT_EQ(cutOutCommand(mesh, "tube.obj"), faults[0].remedy);
    auto const found = findTubeCut(mesh, Point(0.0, 0.0, 0.0), Point(0.0, 0.0, 19.0));
    ASSERT_TRUE(found.has_value());
    EXPECT_EQ(cut({directory / "tube.obj", directory / "slit.obj", *found}, nullptr).part.loops.size(), 1U);
}

TEST(PartFaults, TellHandlesAndSurfacesOfOneSide) {
    FaceMesh handle = torus(24, 60);
    handle.faces.resize(handle.faces.size() - 2);
    auto const faults = faultsIn(handle);
    ASSERT_EQ(faults[0].kind, FaultKind::Handles);
    EXPECT_EQ(faults[0].cause, "1 handle: the surface cannot be laid flat in one piece");
    auto const twisted = faultsIn(twistedBand(200));
    ASSERT_EQ(twisted[0].kind, FaultKind::OneSided);
    EXPECT_EQ(twisted[0].cause, "a surface of 400 faces has one side only, like a twisted band");
}

TEST(PartFaults, TellARimTooShortToBeRolledOut) {
    FaceMesh const square{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 2, 3}}};
    auto const faults = faultsIn(square);
    ASSERT_EQ(kindsIn(faults), std::vector{FaultKind::ShortRim});
    EXPECT_FALSE(faults[0].isInTheWay);
    EXPECT_EQ(faults[0].cause, "the rim has 4 sides only, too few to be rolled out");
    EXPECT_TRUE(suggestedModeOf(analysePart(square)).isPinned);
}

TEST(PartFaults, SuggestTheModeByTheGapOfTheRim) {
    SuggestedMode const flat = suggestedModeOf(analysePart(flatSheet(10, 10)));
    EXPECT_FALSE(flat.isPinned);
    EXPECT_EQ(flat.reason, "rolled out, the rim closes to within 0 degrees");
    FaceMesh cap = sphere(40, 60);
    cap.faces.erase(std::remove_if(cap.faces.begin(), cap.faces.end(),
                                   [&](Face const& face) { return cap.points[face[0]].getZ() < 0.0F; }),
                    cap.faces.end());
    EXPECT_TRUE(suggestedModeOf(analysePart(cap)).isPinned);
}

/// The text that the user reads when the core refuses these faces.
std::string explained(FaceMesh const& mesh) {
    std::string const refusal = messageOf([&] {
        Mesh built(mesh.points, mesh.faces);
        flatten(built, FlatteningMode::Developable, nullptr);
    });
    EXPECT_FALSE(refusal.empty());
    return explainRefusal(refusal, mesh, "p/wing.stl");
}

TEST(ExplainedRefusal, TellsTheFiveCausesOfAFailedConstructionApart) {
    EXPECT_EQ(explained({flatSheet(1, 1).points, {}}),
              "points and no faces: a cloud, through which a surface has to be built; remedy: cscan "
              "reconstruct p/wing.stl p/wing.obj");
    FaceMesh pieces = flatSheet(1, 1);
    append(pieces, flatSheet(1, 1), {5.0, 0.0, 0.0});
    EXPECT_EQ(explained(pieces), "2 pieces that share no side; outside the largest 2 faces (the second from "
                                 "face 3 on near (5.66667, 0.333333, 0)); remedy: " +
                                     repair + " --keep-largest");
    FaceMesh turned = flatSheet(3, 3);
    std::swap(turned.faces[8][0], turned.faces[8][1]);
    EXPECT_EQ(explained(turned).rfind("1 face runs against the others", 0), 0U);
    FaceMesh crowded = flatSheet(2, 1);
    crowded.points.emplace_back(1.0, 0.5, 1.0);
    crowded.faces.push_back({1, 4, 6});
    EXPECT_EQ(explained(crowded).rfind("1 side has more than two faces", 0), 0U);
    FaceMesh doubled = flatSheet(3, 3);
    doubled.faces.push_back(doubled.faces[4]);
    EXPECT_EQ(explained(doubled).rfind("1 face stands there a second time", 0), 0U);
}

TEST(ExplainedRefusal, TellsOtherRefusals) {
    EXPECT_EQ(explained(sphere(5, 8)).rfind("the part is closed, it has no rim", 0), 0U);
    FaceMesh const square{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 2, 3}}};
    EXPECT_EQ(explained(square).rfind("the rim has 4 sides only", 0), 0U);
    FaceMesh stray = square;
    stray.faces[0][2] = 77;
    EXPECT_EQ(explained(stray).rfind("1 face names a point that is not there", 0), 0U);
    EXPECT_EQ(explainRefusal("something else", square, "wing.stl"), "something else");
    EXPECT_EQ(explainRefusal("Mesh has no boundary", square, "my wing.stl"),
              "Mesh has no boundary; see what is wrong with: cscan check 'my wing.stl'");
}

/// Some of a sheet's faces, a few of them changed at random.
FaceMesh damagedSheet(std::mt19937& random) {
    FaceMesh mesh = flatSheet(3, 3);
    for (Point& point : mesh.points) {
        point.seti(2, static_cast<float>(random() % 100) / 100.0F);
    }
    std::size_t const kept = 1 + random() % 18;
    std::shuffle(mesh.faces.begin(), mesh.faces.end(), random);
    mesh.faces.resize(kept);
    for (Face& face : mesh.faces) {
        if (random() % 40 == 0) {
            std::swap(face[0], face[1]);
        }
        if (random() % 40 == 0) {
            face.at(random() % 3) = static_cast<unsigned>(random() % 16);
        }
    }
    if (random() % 8 != 0) {
        dropLoosePoints(mesh);
    }
    return mesh;
}

/// Whatever has nothing in the way the core takes, lists whole and flattens.
TEST(PartFaults, NothingInTheWayMeansThatTheCoreTakesThePart) {
    std::mt19937 random(5);
    std::size_t takenCount = 0;
    for (int trial = 0; trial < 5000; ++trial) {
        FaceMesh const mesh = damagedSheet(random);
        if (isAnyInTheWay(faultsIn(mesh))) {
            continue;
        }
        ++takenCount;
        Mesh built(mesh.points, mesh.faces);
        EXPECT_EQ(trianglesOf(built).size(), mesh.faces.size());
        EXPECT_NO_THROW(flatten(built, FlatteningMode::Pinned, nullptr));
    }
    EXPECT_GT(takenCount, 150U);
}

/// What the core refuses to build or to flatten has something in the way, and the user reads what.
TEST(ExplainedRefusal, IsThereForEveryRefusal) {
    std::mt19937 random(6);
    std::size_t refusedCount = 0;
    for (int trial = 0; trial < 5000; ++trial) {
        FaceMesh const mesh = damagedSheet(random);
        std::string const refusal = messageOf([&] {
            Mesh built(mesh.points, mesh.faces);
            flatten(built, FlatteningMode::Pinned, nullptr);
        });
        if (!refusal.empty()) {
            ++refusedCount;
            EXPECT_NE(explainRefusal(refusal, mesh, "wing.stl").find("; remedy: "), std::string::npos)
                << refusal;
        }
    }
    EXPECT_GT(refusedCount, 500U);
}

TEST(CheckPart, ReadsAPartAndTellsAll) {
    ScratchDirectory const directory;
    writeText(directory / "closed.obj", closedMesh);
    CheckResult const result = checkPart({directory / "closed.obj", {}}, nullptr);
    EXPECT_EQ(result.format, PartFormat::Obj);
    EXPECT_TRUE(result.isMesh);
    EXPECT_FALSE(result.canBePrepared());
    EXPECT_EQ(result.analysis.faceCount, 4U);
    ASSERT_EQ(result.nextCommands.size(), 1U);
    EXPECT_EQ(messageOf([&] {
                  checkPart({directory / "closed.obj", 0.0}, nullptr);
              }),
              (directory / "closed.obj").string() + ": the pixel must be above 0");
}

} // namespace
} // namespace QELT::Inspection
