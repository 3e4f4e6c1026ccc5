"""Measures with the lines of laser profile scanners, in arrays of numpy.

    import kvmath
    plan = kvmath.read_plan("groove.json")
    result = plan.measure(array)                # (n, 2): x and height, mm; NaN is unset
    print(result["depth"].value, result["depth"].unit, result["depth"].verdict)

Arrays
    A profile has the shape (n, 2): x across the line and height z, mm. A cloud has the shape (n, 3): x, height and
    place along the scan. Any array of real numbers is taken, read-only and strided ones too; NaN in a row is an unset
    point, which is left out. Infinite coordinates are refused.
    The library keeps profiles as float32: float64 is rounded to the nearest float32 where plans, filters and segments
    take it, and not at all in fits. float32 in C order is copied once, 8 bytes a point. The read-only arrays
    of read_profiles and filtered are the library's own points: nothing is copied when they are made and when
    they are taken back.

Names
    Those of the library in C++ (docs of kvmeasure), turned from camelCase to snake_case; "is" and "has" in front fall
    away, and what has no arguments and changes nothing is an attribute: isValid -> valid, expandedU() -> expanded_u,
    fitLine() -> fit_line().

Errors
    kvmath.Error for what is refused, with file, line and parameter where there is one. TypeError for what is no array of
    numbers. A value that cannot be measured is no error: it is not valid, and says the reason.

Threads
    Every call that takes long lets other threads run; statistics and single values of tables are too short for that. Plans
    and results may be shared by threads. An array must not be changed while a call reads it. Ctrl-C ends work on files
    and on many profiles, but no single measurement, fit or zone: with many Monte Carlo runs it waits for the last one.
"""

from kvmath._core import (
    Capability,
    CircleFit,
    Circumference,
    Comparison,
    Conicity,
    ControlChart,
    Deviation,
    Error,
    Estimate,
    Flatness,
    GaugeCapability,
    GaugeProfile,
    GaugeStudy,
    HeightPlane,
    LimitVerdict,
    Linearity,
    LineFit,
    LineZone,
    MotionPart,
    OneWayAnova,
    Outline,
    Plan,
    PlaneZone,
    Registration,
    Result,
    Roughness,
    Roundness,
    RoundZone,
    SampleSummary,
    Scan,
    ScanComparison,
    SectionValue,
    SectionValues,
    Segments,
    StepHeight,
    Straightness,
    Tolerance,
    TrackGauge,
    Value,
    WheelFlat,
    WheelHarmonic,
    WheelLimit,
    apply_calibration_table,
    build_calibration_table,
    capability,
    check_calibration_table,
    coin_hull,
    compare,
    compare_scans,
    compare_with_plane,
    conicity,
    control_chart,
    cubic_filter,
    evaluate_circumference,
    filtered,
    fit_circle,
    fit_line,
    fit_plane,
    flatness,
    gauge_capability,
    gauge_study,
    judge,
    least_squares,
    linearity,
    make_plan,
    measure_help,
    one_way_anova,
    percentile,
    pseudo_convex_hull,
    rail_values,
    read_calibration_table,
    read_gauge_profile,
    read_plan,
    read_scan,
    read_wheel_limits,
    rolling_radii,
    roughness,
    roundness,
    segments,
    spherical_filter,
    step_height,
    steps_help,
    straightness,
    summarize,
    svd,
    teach,
    track_gauge,
    wheel_values,
    wheel_wear,
    write_profiles,
)
from kvmath._profiles import Profile, profiles_of, read_profile, read_profiles
from kvmath._shown import table
from kvmath._wheels import WheelPass, wheel_pass

__all__ = [
    # plans and values
    "Plan", "Result", "Tolerance", "Value", "make_plan", "measure_help", "read_plan", "table", "teach",
    # profiles
    "Profile", "Segments", "filtered", "read_profile", "read_profiles", "segments", "steps_help", "write_profiles",
    # fits, form
    "CircleFit", "Flatness", "LineFit", "LineZone", "PlaneZone", "RoundZone", "Roughness", "Roundness", "StepHeight",
    "Straightness", "fit_circle", "fit_line", "fit_plane", "flatness", "roughness", "roundness", "step_height",
    "straightness",
    # comparison with a master
    "Comparison", "Deviation", "MotionPart", "Registration", "ScanComparison", "compare", "compare_scans",
    "compare_with_plane",
    # statistics
    "Capability", "ControlChart", "Estimate", "GaugeCapability", "GaugeStudy", "Linearity", "OneWayAnova",
    "SampleSummary", "capability", "control_chart", "gauge_capability", "gauge_study", "linearity", "one_way_anova",
    "percentile", "summarize",
    # scans
    "HeightPlane", "Outline", "Scan", "coin_hull", "cubic_filter", "profiles_of", "pseudo_convex_hull", "read_scan",
    "spherical_filter",
    # wheels and rails
    "Circumference", "Conicity", "GaugeProfile", "LimitVerdict", "SectionValue", "SectionValues", "TrackGauge",
    "WheelFlat", "WheelHarmonic", "WheelLimit", "WheelPass", "conicity", "evaluate_circumference", "judge", "rail_values", "read_gauge_profile", "read_wheel_limits", "rolling_radii", "track_gauge",
    "wheel_pass", "wheel_values", "wheel_wear",
    # calibration, numerics
    "apply_calibration_table", "build_calibration_table", "check_calibration_table", "least_squares", "read_calibration_table", "svd",
    # errors
    "Error",
]

for _name in __all__:  # help() and pickle find them here
    if getattr(globals()[_name], "__module__", "") != "kvmath":
        try:
            globals()[_name].__module__ = "kvmath"
        except (AttributeError, TypeError):
            pass
del _name
