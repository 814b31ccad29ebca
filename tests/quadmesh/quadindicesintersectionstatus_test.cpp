#include "Geometry/quadmesh/quadindicesintersectionstatus.h"

#include "tests/support/float_bits.h"
#include "tests/support/searchsettings.h"

#include <cmath>

namespace QELT::Testing {

namespace {

using Status = QuadIndicesIntersectionStatus;

constexpr double pi = 3.141592653589793;

class IntersectionStatus : public SearchTest {};

Status hit(double distance, double angle) {
    return {nullptr, {}, {}, true, {distance, angle, 0.0}, ""};
}

Status miss() {
    return {nullptr, {}, {}, false, {-1e9, pi, 0.0}, ""};
}

bool isBetter(Status const& candidate, Status const& best) {
    return best.getIsBetterIntersection(candidate);
}

/// The angle whose error is a quarter turn, to the bit.
double atQuarterTurn() {
    double const angle = 6.283185307179586 * 0.5 - 6.283185307179586 * 0.25;
    EXPECT_EQ(hit(0.0, angle).getIntersectionData().getAngleError(), 6.283185307179586 * 0.25);
    return angle;
}

} // namespace

TEST_F(IntersectionStatus, DefaultIsAMissOfNoMesh) {
    Status const status;
    EXPECT_EQ(status.quadMesh, nullptr);
    EXPECT_EQ(status.getQuadPoint(), SpacePoint());
    EXPECT_EQ(status.getIndices(), GridIndex(0, 0));
    EXPECT_FALSE(status.getIsValid());
    EXPECT_EQ(status.getIntersectionData().getDistanceToObject(), 0.0);
    EXPECT_EQ(status.getIntersectionData().getAngleToObjectNormal(), 0.0);
    EXPECT_EQ(status.getIntersectionData().getDistanceSqrToQuadCentre(), 0.0);
    EXPECT_EQ(status.getFileName(), "");
}

TEST_F(IntersectionStatus, ConstructorCopiesItsFieldsInOrder) {
    RectMesh mesh;
    Status const status(&mesh, {1.0, 2.0, 3.0}, {4, 5}, true, {6.0, 7.0, 8.0}, "part.quads");
    EXPECT_EQ(&status.getQuadMesh(), &mesh);
    EXPECT_EQ(status.getQuadPoint(), SpacePoint(1.0, 2.0, 3.0));
    EXPECT_EQ(status.getIndices(), GridIndex(4, 5));
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getIntersectionData().getDistanceToObject(), 6.0);
    EXPECT_EQ(status.getIntersectionData().getAngleToObjectNormal(), 7.0);
    EXPECT_EQ(status.getIntersectionData().getDistanceSqrToQuadCentre(), 8.0);
    EXPECT_EQ(status.getFileName(), "part.quads");
}

TEST_F(IntersectionStatus, AssignmentCopiesAllAndIsSafeOnItself) {
    RectMesh mesh;
    std::string const longName(200, 'q');
    Status const status(&mesh, {1.0, 2.0, 3.0}, {4, 5}, true, {6.0, 7.0, 8.0}, longName);
    Status copy;
    copy = status;
    Status const& self = copy;
    copy = self;
    EXPECT_EQ(&copy.getQuadMesh(), &mesh);
    EXPECT_EQ(copy.getQuadPoint(), status.getQuadPoint());
    EXPECT_EQ(copy.getIndices(), status.getIndices());
    EXPECT_TRUE(copy.getIsValid());
    EXPECT_EQ(copy.getIntersectionData().getAngleToObjectNormal(), 7.0);
    EXPECT_EQ(copy.getFileName(), longName);
}

TEST_F(IntersectionStatus, SetDataLeavesTheRestAlone) {
    RectMesh mesh;
    Status status(&mesh, {1.0, 2.0, 3.0}, {4, 5}, true, {6.0, 7.0, 8.0}, "part.quads");
    status.setQuadIntersectionData({9.0, 10.0, 11.0});
    EXPECT_EQ(status.getIntersectionData().getDistanceToObject(), 9.0);
    EXPECT_EQ(status.getIntersectionData().getAngleToObjectNormal(), 10.0);
    EXPECT_EQ(status.getIntersectionData().getDistanceSqrToQuadCentre(), 11.0);
    EXPECT_EQ(&status.getQuadMesh(), &mesh);
    EXPECT_EQ(status.getQuadPoint(), SpacePoint(1.0, 2.0, 3.0));
    EXPECT_EQ(status.getIndices(), GridIndex(4, 5));
    EXPECT_TRUE(status.getIsValid());
    EXPECT_EQ(status.getFileName(), "part.quads");
}

TEST_F(IntersectionStatus, ModesHaveTheirNumbersAndAngleThenDistanceIsTheFirst) {
    EXPECT_EQ(static_cast<int>(Status::AngleThenDistance), 0);
    EXPECT_EQ(static_cast<int>(Status::DistanceOnly), 1);
    EXPECT_EQ(static_cast<int>(Status::AngleOnly), 2);
    EXPECT_EQ(Status::getIntersectionQualityMode(), Status::AngleThenDistance);
}

TEST_F(IntersectionStatus, AnyModeIsStoredUnchecked) {
    for (int const mode : {2, 3, -1, 1000000}) {
        setQualityMode(mode);
        EXPECT_EQ(static_cast<int>(Status::getIntersectionQualityMode()), mode);
    }
}

TEST_F(IntersectionStatus, MissIsNeverGood) {
    for (int const mode : {0, 1, 2, 3}) {
        setQualityMode(mode);
        EXPECT_FALSE(miss().getIsGoodIntersection());
    }
}

TEST_F(IntersectionStatus, GoodIsAnAngleErrorStrictlyUnderAQuarterTurn) {
    double const limit = atQuarterTurn();
    EXPECT_TRUE(hit(1.0, pi).getIsGoodIntersection());
    EXPECT_FALSE(hit(1.0, limit).getIsGoodIntersection());
    EXPECT_TRUE(hit(1.0, std::nextafter(limit, 4.0)).getIsGoodIntersection());
    EXPECT_FALSE(hit(1.0, std::nextafter(limit, 0.0)).getIsGoodIntersection());
    EXPECT_FALSE(hit(1.0, 0.0).getIsGoodIntersection());
    EXPECT_FALSE(hit(1.0, std::nan("")).getIsGoodIntersection());
}

TEST_F(IntersectionStatus, BackSideHitIsGoodInEveryOtherMode) {
    for (int const mode : {1, 2, 3, -7}) {
        setQualityMode(mode);
        EXPECT_TRUE(hit(1.0, 0.0).getIsGoodIntersection()) << mode;
    }
}

TEST_F(IntersectionStatus, NothingIsBetterInAnUnknownMode) {
    for (int const mode : {3, -1}) {
        setQualityMode(mode);
        EXPECT_FALSE(isBetter(hit(1.0, pi), miss()));
        EXPECT_FALSE(isBetter(hit(1.0, pi), hit(9.0, 0.0)));
    }
}

TEST_F(IntersectionStatus, HitIsBetterThanAMissAndAMissNeverIs) {
    for (int const mode : {0, 1, 2}) {
        setQualityMode(mode);
        EXPECT_TRUE(isBetter(hit(1e6, 0.0), miss()));
        EXPECT_FALSE(isBetter(miss(), hit(1e6, 0.0)));
        EXPECT_FALSE(isBetter(miss(), miss()));
    }
}

TEST_F(IntersectionStatus, FrontalHitReplacesOneFromBehindHoweverFar) {
    EXPECT_TRUE(isBetter(hit(100.0, 3.0), hit(1.0, 0.5)));
}

TEST_F(IntersectionStatus, NearerHitFromBehindReplacesAFrontalOne) {
    EXPECT_TRUE(isBetter(hit(1.0, 0.5), hit(100.0, 3.0)));
    EXPECT_FALSE(isBetter(hit(100.0, 0.5), hit(1.0, 3.0)));
}

TEST_F(IntersectionStatus, DistanceDecidesBetweenTwoOnTheSameSide) {
    for (double const angle : {0.5, 3.0}) {
        EXPECT_TRUE(isBetter(hit(1.0, angle), hit(2.0, angle)));
        EXPECT_FALSE(isBetter(hit(2.0, angle), hit(1.0, angle)));
    }
    EXPECT_TRUE(isBetter(hit(1.0, 2.0), hit(2.0, 3.1)));
    EXPECT_FALSE(isBetter(hit(2.0, 3.1), hit(1.0, 2.0)));
}

TEST_F(IntersectionStatus, QuarterTurnToTheBitIsNeitherWithinNorBeyond) {
    double const limit = atQuarterTurn();
    // As candidate against one from behind, and as the best against a frontal one: distance decides.
    EXPECT_FALSE(isBetter(hit(2.0, limit), hit(1.0, 0.5)));
    EXPECT_FALSE(isBetter(hit(2.0, 3.0), hit(1.0, limit)));
    EXPECT_TRUE(isBetter(hit(0.5, limit), hit(1.0, 0.5)));
    EXPECT_TRUE(isBetter(hit(0.5, 3.0), hit(1.0, limit)));
    // A hair to either side the angle decides.
    EXPECT_TRUE(isBetter(hit(2.0, std::nextafter(limit, 4.0)), hit(1.0, std::nextafter(limit, 0.0))));
}

TEST_F(IntersectionStatus, DistanceAloneDecidesInModeOne) {
    setQualityMode(1);
    EXPECT_TRUE(isBetter(hit(1.0, 0.0), hit(2.0, pi)));
    EXPECT_FALSE(isBetter(hit(2.0, pi), hit(1.0, 0.0)));
}

TEST_F(IntersectionStatus, HitBehindTheOriginBeatsEveryHitInFront) {
    for (int const mode : {0, 1}) {
        setQualityMode(mode);
        EXPECT_TRUE(isBetter(hit(-2.0, 3.0), hit(1.0, 3.0)));
        EXPECT_TRUE(isBetter(hit(-3.0, 3.0), hit(-2.0, 3.0)));
    }
}

TEST_F(IntersectionStatus, AngleErrorAloneDecidesInModeTwo) {
    setQualityMode(2);
    EXPECT_TRUE(isBetter(hit(100.0, 3.0), hit(1.0, 2.9)));
    EXPECT_FALSE(isBetter(hit(1.0, 2.9), hit(100.0, 3.0)));
    EXPECT_TRUE(isBetter(hit(1.0, 1.0), hit(1.0, 0.9)));
}

TEST_F(IntersectionStatus, OfEqualsTheOneHeldStays) {
    for (int const mode : {0, 1, 2}) {
        setQualityMode(mode);
        EXPECT_FALSE(isBetter(hit(2.0, 3.0), hit(2.0, 3.0)));
        EXPECT_FALSE(isBetter(hit(2.0, 0.5), hit(2.0, 0.5)));
    }
}

TEST_F(IntersectionStatus, MeasurementsThatAreNoNumbersAreNeverBetter) {
    for (int const mode : {0, 1, 2}) {
        setQualityMode(mode);
        EXPECT_FALSE(isBetter(hit(std::nan(""), std::nan("")), hit(2.0, 0.5)));
        EXPECT_FALSE(isBetter(hit(2.0, 3.0), hit(std::nan(""), std::nan(""))));
    }
}

} // namespace QELT::Testing
