"""Pictures of the subcommands (matplotlib without a display; PNG or SVG by
the file's extension)."""

from __future__ import annotations

import os
from typing import Any, Sequence

from ._common import CliError


def _figure(panels: int, heights: Sequence[int] | None = None) -> tuple[Any, list[Any]]:
    try:
        import matplotlib  # noqa: PLC0415

        matplotlib.use("Agg")
        from matplotlib.figure import Figure  # noqa: PLC0415
    except ImportError:
        raise CliError("plots need matplotlib (Debian: apt-get install python3-matplotlib)") from None
    fig = Figure(figsize=(8.0, 3.0 + 2.2 * panels), layout="constrained")
    spec = fig.add_gridspec(panels, 1, height_ratios=list(heights) if heights else None)
    axes = [fig.add_subplot(spec[i, 0]) for i in range(panels)]
    for ax in axes[1:]:
        ax.sharex(axes[0])
    return fig, axes


def _save(fig: Any, path: str) -> None:
    fmt = os.path.splitext(path)[1].lower().lstrip(".")
    import matplotlib  # noqa: PLC0415

    try:
        # Text stays text in SVG files (searchable, editable).
        with matplotlib.rc_context({"svg.fonttype": "none"}):
            fig.savefig(path, format=fmt, dpi=110)
    except OSError as exc:
        raise CliError(f"{path}: cannot write the plot ({exc.strerror})") from None


def fit_plot(
    path: str,
    title: str,
    pixels: Sequence[float],
    curve: Sequence[float],
    point_pixels: Sequence[float],
    point_values: Sequence[float],
    residuals_nm: Sequence[float],
    unit: str,
) -> None:
    """Calibration curve with its points, and the residuals below."""
    fig, (top, bottom) = _figure(2, (3, 2))
    top.plot(pixels, curve, color="tab:blue", label="calibration")
    top.plot(point_pixels, point_values, "o", color="tab:red", label="calibration points")
    top.set_ylabel(f"calibrated value ({unit})")
    top.set_title(title)
    top.legend(loc="best")
    top.grid(alpha=0.3)
    bottom.axhline(0.0, color="0.5", linewidth=0.8)
    bottom.vlines(point_pixels, 0.0, residuals_nm, color="tab:red", linewidth=1.0)
    bottom.plot(point_pixels, residuals_nm, "o", color="tab:red")
    bottom.set_xlabel("pixel")
    bottom.set_ylabel("residual (nm)")
    bottom.grid(alpha=0.3)
    _save(fig, path)


def axis_plot(path: str, title: str, pixels: Sequence[float], wavelengths: Sequence[float], dispersion: Sequence[float]) -> None:
    """Wavelength of every pixel and the dispersion across the detector."""
    fig, (top, bottom) = _figure(2, (3, 2))
    top.plot(pixels, wavelengths, color="tab:blue")
    top.set_ylabel("wavelength (nm)")
    top.set_title(title)
    top.grid(alpha=0.3)
    bottom.plot(pixels, dispersion, color="tab:green")
    bottom.set_xlabel("pixel")
    bottom.set_ylabel("dispersion (nm/pixel)")
    bottom.grid(alpha=0.3)
    _save(fig, path)


def peaks_plot(
    path: str,
    title: str,
    x: Sequence[float],
    counts: Sequence[float],
    peak_x: Sequence[float],
    peak_counts: Sequence[float],
    labels: Sequence[str],
    x_label: str,
) -> None:
    """The spectrum with its peaks marked."""
    fig, (ax,) = _figure(1)
    ax.plot(x, counts, color="tab:blue", linewidth=0.9)
    ax.plot(peak_x, peak_counts, "v", color="tab:red", label="peaks")
    for px, pc, text in zip(peak_x, peak_counts, labels):
        ax.annotate(text, (px, pc), textcoords="offset points", xytext=(0, 6), ha="center", fontsize=7)
    ax.set_xlabel(x_label)
    ax.set_ylabel("counts")
    ax.set_title(title)
    ax.legend(loc="best")
    ax.grid(alpha=0.3)
    _save(fig, path)


def glue_plot(
    path: str,
    title: str,
    inputs: Sequence[tuple[str, Sequence[float], Sequence[float]]],
    axis: Sequence[float],
    glued: Sequence[float],
) -> None:
    """The input steps above, the glued spectrum below."""
    fig, (top, bottom) = _figure(2, (1, 1))
    for label, x, y in inputs:
        top.plot(x, y, linewidth=0.8, alpha=0.8, label=label)
    top.set_ylabel("counts")
    top.set_title(title)
    top.legend(loc="best", fontsize=7)
    top.grid(alpha=0.3)
    bottom.plot(axis, glued, color="black", linewidth=0.8, label="glued")
    bottom.set_xlabel("wavelength (nm)")
    bottom.set_ylabel("counts")
    bottom.legend(loc="best")
    bottom.grid(alpha=0.3)
    _save(fig, path)
