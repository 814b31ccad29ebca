#pragma once

#include "Inspection/frames/frame.h"
#include "Inspection/tables/columnnames.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Where a probe stood and where it looked, as robots and scanners write it.
namespace QELT::Inspection {

/// The columns that a pose has.
enum class PoseDialect : std::uint8_t {
    OriginDirection, ///< ox,oy,oz,dx,dy,dz: where the beam begins and where it goes
    Position,        ///< x,y,z alone: the beam is not told
    ZyxDegrees,      ///< x,y,z,a,b,c: a about z, then b about the moved y, then c about the moved x
    XyzDegrees,      ///< x,y,z,rx,ry,rz: about the fixed x, then the fixed y, then the fixed z
    RotationVector,  ///< x,y,z,rx,ry,rz: about that vector by its length, in radians
    QuaternionWxyz,  ///< x,y,z,qw,qx,qy,qz
    QuaternionXyzw,  ///< x,y,z,qx,qy,qz,qw
};

/// As the user spells them: "origin+direction", "xyz", "xyz+zyx-deg", "xyz+xyz-deg", "rotvec", "quat-wxyz"
/// and "quat-xyzw". Fails on any other word.
QELT_INSPECTION_EXPORT PoseDialect poseDialectIn(std::string_view text);
QELT_INSPECTION_EXPORT char const* nameOf(PoseDialect dialect);

/// How poses become beams.
struct PoseFormat {
    std::optional<PoseDialect> dialect; ///< recognised by the names of the columns if it is not told
    /// Of positions: "mm", "m", "in", or how many of the part's unit one of theirs is; what the heading says,
    /// else the part's unit, if it is not told.
    std::optional<std::string> unit;
    std::string partUnit;           ///< the part's unit; empty if it is not known
    std::optional<Triple> beamAxis; ///< in the probe's frame; {0, 0, 1} if it is not told
    /// The probe's frame in that of the flange, whose pose the table tells. The translation is in the unit of
    /// the positions.
    std::optional<Frame> tool;
};

/// Reads "z", "+z", "-x" or three numbers "X,Y,Z" of any length but 0. Fails on anything else.
QELT_INSPECTION_EXPORT Triple beamAxisIn(std::string_view text);

/// Reads "X,Y,Z,A,B,C": a translation, and degrees that turn about the moving axes z, then y, then x. Fails
/// on anything else.
QELT_INSPECTION_EXPORT Frame toolIn(std::string_view text);

/// Of the flange, or of the beam where no more is told.
struct Pose {
    Triple position{};
    Triple direction{}; ///< of `OriginDirection` alone
    Turn turn;
};

/// A beam in doubles.
struct Ray {
    Triple origin{};
    Triple direction{}; ///< zeros where it is not told
};

/// Finds the columns of a table that make a pose, reads poses from them and makes beams of these.
class QELT_INSPECTION_EXPORT PoseReader {
public:
    /// Fails, with the remedy, if the columns do not make a pose of the dialect, leave open which dialect
    /// they are, or name a unit that does not fit; `source` is the file's name for that.
    PoseReader(std::vector<NamedColumn> const& columns, PoseFormat const& format, std::string const& source);

    PoseDialect getDialect() const { return dialect; }

    /// How many of the part's unit one of the table's is.
    double getScale() const { return scale; }

    /// Where in `columns` the parts of a pose are, in the order in which `read` takes their values.
    std::vector<std::size_t> const& getColumns() const { return chosen; }

    /// Of as many values as there are columns. What is wrong with them is left in `getFault`.
    Pose read(std::span<double const> values);

    /// What was wrong with the last pose; empty if nothing was.
    std::string const& getFault() const { return fault; }

    /// A pose between two of this reader, for a share from 0 to 1: positions on a line, turns and directions
    /// on the shortest way.
    Pose interpolate(Pose const& from, Pose const& to, double share) const;

    /// In the table's frame and in the part's unit.
    Ray rayOf(Pose const& pose) const;

    bool hasDirection() const { return dialect != PoseDialect::Position; }

private:
    PoseDialect dialect = PoseDialect::OriginDirection;
    std::vector<std::size_t> chosen;
    double scale = 1.0;
    double angleScale = 1.0; ///< of rotation vectors, to radians
    Triple beamAxis{0.0, 0.0, 1.0};
    std::optional<Frame> tool;
    std::string fault;

    void setScale(std::vector<NamedColumn> const& columns, PoseFormat const& format,
                  std::string const& source);
    void setAngles(std::vector<NamedColumn> const& columns, std::string const& source);
    Turn turnOf(std::span<double const> values);
    Turn quaternionOf(double w, Triple const& v);
};

} // namespace QELT::Inspection
