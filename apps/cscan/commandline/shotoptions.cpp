#include "apps/cscan/commandline/shotoptions.h"

#include "apps/cscan/commandline/arguments.h"
#include "apps/cscan/commandline/partoptions.h"

namespace cscan {

namespace {

std::string unitIn(std::string_view text) {
    return std::string(text);
}

/// Milliseconds of either sign, or "auto".
CLI::Validator readingLag(ShotOptions& shots) {
    auto const keep = [&shots](std::string const& text) -> std::string {
        try {
            shots.doFindLag = text == "auto";
            shots.lag = shots.doFindLag ? 0.0 : numberIn(text);
        } catch (UsageError const& error) {
            return error.what();
        }
        return {};
    };
    return CLI::Validator(keep, "");
}

/// Gives the option of the table of poses.
CLI::Option* addTables(CLI::App& command, ShotOptions& shots) {
    CLI::Option* const data = command.add_option(
        "--data", shots.shots, "Table of shots: where the probe stood, where it looked, what was measured");
    CLI::Option* const times = command.add_option(
        "--shots", shots.shots, "Table of shots without poses, each with its time; goes with --poses");
    CLI::Option* const poses =
        command.add_option("--poses", shots.poses, "Table of poses, each with its time; goes with --shots");
    data->type_name("SHOTS.csv")->excludes(times)->excludes(poses);
    times->type_name("S.csv")->needs(poses);
    poses->type_name("P.csv")->needs(times);
    command
        .add_option(
            "--columns",
            "Which columns are what, as 'ox=X,oy=Y,amp[%FSH]=7': our name, the file's name or number; or "
            "the names of the file's columns in order, '-' for one that is not wanted")
        ->check(reading(shots.columns, usage(columnNamingIn)))
        ->type_name("OURS=FILE,...");
    command.add_flag("--skip-bad", shots.doSkipBad, "Count lines that cannot be read in place of failing");
    return poses;
}

void addPoseForm(CLI::App& command, PoseFormat& pose) {
    command
        .add_option("--pose",
                    "How poses are written: origin+direction, xyz (along the surface's normal), xyz+zyx-deg "
                    "(degrees about the moving z, y, x), xyz+xyz-deg (about the fixed x, y, z), rotvec, "
                    "quat-wxyz or quat-xyzw; if it is not given, what the names of the columns leave")
        ->check(reading(pose.dialect, usage(poseDialectIn)))
        ->type_name("FORM");
    command.add_option("--pose-unit", "Unit of positions: mm, m, in, or how many of the part's unit it is")
        ->check(reading(pose.unit, unitIn))
        ->type_name("UNIT");
    command
        .add_option("--beam-axis", "Axis of the probe that the beam goes along, such as -z; z if not given")
        ->check(reading(pose.beamAxis, usage(beamAxisIn)))
        ->type_name("AXIS");
    command
        .add_option("--tool", "Place of the probe at the flange whose poses are told: X,Y,Z in their unit, "
                              "then degrees A,B,C about the moving z, y, x")
        ->check(reading(pose.tool, usage(toolIn)))
        ->type_name("X,Y,Z,A,B,C");
}

void addClocks(CLI::App& command, ShotOptions& shots, CLI::Option* poses) {
    command
        .add_option("--lag", "Of two tables: how many milliseconds later a shot is stamped than the pose "
                             "of the same moment; 'auto' finds it by lines there and back")
        ->check(readingLag(shots))
        ->type_name("MS|auto")
        ->needs(poses);
    command
        .add_option("--max-gap", "Of two tables: shots between poses that are more milliseconds apart are "
                                 "refused; five times the usual step if it is not given")
        ->check(reading(shots.maxGap, positiveNumberIn))
        ->type_name("MS")
        ->needs(poses);
}

} // namespace

void addShotOptions(CLI::App& command, ShotOptions& shots) {
    CLI::Option* const poses = addTables(command, shots);
    addPoseForm(command, shots.pose);
    addFrameOption(command, shots.frame, "takes the table's coordinates to those of the part");
    addClocks(command, shots, poses);
}

} // namespace cscan
