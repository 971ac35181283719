// Calibration of the warps: checks of the controls, normalisation, the dense
// saddle-point system of the radial kernels, the affine trend of the inverse
// distance method, and the leave-one-out residuals of both.
#include "registration/WarpModel.h"

#include "frame/CNumber.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <limits>

namespace KVProj {
namespace Registration {
namespace {

using Eigen::Index;
using Eigen::Matrix3d;
using Eigen::MatrixXd;
using Eigen::Vector3d;

// Two controls closer than this fraction of the diameter are one position.
constexpr double kDuplicateFraction = 1e-10;
// Controls all within this fraction of the diameter of one line are collinear.
constexpr double kCollinearFraction = 1e-9;
// Largest accepted miss at the controls, relative to the destination spread.
constexpr double kMaxMissed = 1e-10;
// Smallest accepted reciprocal condition estimate of the system.
constexpr double kMinRcond = 1e-18;

// The controls in normalised coordinates and the destination offsets.
struct Normalised {
    std::vector<double> u, v, fx, fy;
    double cx = 0, cy = 0, inv = 1, ox = 0, oy = 0;
};

bool AllFinite(const RPoints& source, const RPoints& destination, std::string& reason) {
    for (size_t i = 0; i < source.size(); ++i) {
        const double values[4] = {source[i].x, source[i].y, destination[i].x, destination[i].y};
        for (double value : values)
            if (!std::isfinite(value)) {
                reason = FormatCString("control %zu of %zu is not finite", i + 1, source.size());
                return false;
            }
    }
    return true;
}

bool CheckCounts(const RPoints& source, const RPoints& destination, WarpingMethod method,
                 std::string& reason) {
    if (method < 0 || method >= WARP_COUNT) {
        reason = FormatCString("unknown warping method %d", static_cast<int>(method));
        return false;
    }
    if (source.size() != destination.size()) {
        reason = FormatCString("%zu source and %zu destination controls: the counts differ",
                               source.size(), destination.size());
        return false;
    }
    if (source.size() < 3) {
        reason = FormatCString("%zu controls: at least 3 are needed", source.size());
        return false;
    }
    if (source.size() > static_cast<size_t>(kMaxRegistrationControls)) {
        const double gb = 8.0 * std::pow(static_cast<double>(source.size() + 3), 2) / 1e9;
        reason = FormatCString("%zu controls: more than the limit of %d (the dense system "
                               "would take %.1f GB)",
                               source.size(), kMaxRegistrationControls, gb);
        return false;
    }
    return true;
}

// Mean of the points, and their offsets from it scaled by the box extent.
double CentreAndBox(const RPoints& points, double& mx, double& my, std::vector<double>& u,
                    std::vector<double>& v) {
    const size_t n = points.size();
    double sx = 0, sy = 0, x0 = points[0].x, x1 = x0, y0 = points[0].y, y1 = y0;
    for (const RPoint& p : points) {
        sx += p.x / static_cast<double>(n); // divided first: no overflow near the largest double
        sy += p.y / static_cast<double>(n);
        x0 = std::min(x0, p.x), x1 = std::max(x1, p.x);
        y0 = std::min(y0, p.y), y1 = std::max(y1, p.y);
    }
    mx = sx, my = sy;
    const double extent = std::max(x1 - x0, y1 - y0);
    u.resize(n), v.resize(n);
    for (size_t i = 0; i < n; ++i)
        u[i] = (points[i].x - mx) / extent, v[i] = (points[i].y - my) / extent;
    return extent;
}

// Normalises the source controls to unit diameter; refuses coincident ones.
bool NormaliseSource(const RPoints& source, Normalised& nm, std::string& reason) {
    const double extent = CentreAndBox(source, nm.cx, nm.cy, nm.u, nm.v);
    if (!std::isfinite(extent)) {
        reason = "the source controls spread too far to be represented";
        return false;
    }
    if (extent == 0) {
        reason = "controls 1 and 2 have the same source position"; // all of them do
        return false;
    }
    const size_t n = source.size();
    double maxD2 = 0, minD2 = std::numeric_limits<double>::infinity();
    size_t a = 0, b = 1;
    for (size_t i = 0; i < n; ++i)
        for (size_t j = i + 1; j < n; ++j) {
            const double du = nm.u[i] - nm.u[j], dv = nm.v[i] - nm.v[j];
            const double d2 = du * du + dv * dv;
            maxD2 = std::max(maxD2, d2);
            if (d2 < minD2) minD2 = d2, a = i, b = j;
        }
    if (!(minD2 > kDuplicateFraction * kDuplicateFraction * maxD2)) {
        reason = FormatCString("controls %zu and %zu have the same source position", a + 1, b + 1);
        return false;
    }
    const double diameter = std::sqrt(maxD2);
    nm.inv = 1.0 / (extent * diameter);
    if (!std::isfinite(nm.inv)) {
        reason = "the source controls lie too close together to be represented";
        return false;
    }
    // The controls normalised by the very expression the evaluation uses, so
    // that the fit is checked at the positions a transform of them will see:
    // with ill-conditioned controls one rounding step more is millimetres off.
    for (size_t i = 0; i < n; ++i)
        nm.u[i] = (source[i].x - nm.cx) * nm.inv, nm.v[i] = (source[i].y - nm.cy) * nm.inv;
    return true;
}

// True when the points (skipping index `skip`) lie within kCollinearFraction of
// one line through their mean, along the principal axis of their scatter.
bool Collinear(const std::vector<double>& u, const std::vector<double>& v, size_t skip) {
    double su = 0, sv = 0, m = 0;
    for (size_t i = 0; i < u.size(); ++i)
        if (i != skip) su += u[i], sv += v[i], m += 1;
    su /= m, sv /= m;
    double suu = 0, suv = 0, svv = 0;
    for (size_t i = 0; i < u.size(); ++i)
        if (i != skip) {
            const double du = u[i] - su, dv = v[i] - sv;
            suu += du * du, suv += du * dv, svv += dv * dv;
        }
    // Principal axis angle of the 2x2 scatter; the normal is perpendicular to it.
    const double theta = 0.5 * std::atan2(2 * suv, suu - svv);
    const double nx = -std::sin(theta), ny = std::cos(theta);
    double worst = 0;
    for (size_t i = 0; i < u.size(); ++i)
        if (i != skip) worst = std::max(worst, std::fabs(nx * (u[i] - su) + ny * (v[i] - sv)));
    return worst <= kCollinearFraction;
}

bool NormaliseDestination(const RPoints& destination, Normalised& nm, std::string& reason) {
    const size_t n = destination.size();
    double sx = 0, sy = 0;
    for (const RPoint& p : destination)
        sx += p.x / static_cast<double>(n), sy += p.y / static_cast<double>(n);
    nm.ox = sx, nm.oy = sy;
    nm.fx.resize(n), nm.fy.resize(n);
    for (size_t i = 0; i < n; ++i) {
        nm.fx[i] = destination[i].x - sx, nm.fy[i] = destination[i].y - sy;
        if (!std::isfinite(nm.fx[i]) || !std::isfinite(nm.fy[i])) {
            reason = "the destination controls spread too far to be represented";
            return false;
        }
    }
    return true;
}

// ------------------------------------------------------------ radial kernels

// The saddle-point matrix [K P; P' 0] of the model's kernel, P = [1 u v].
MatrixXd SystemMatrix(const WarpModel& m) {
    const Index n = static_cast<Index>(m.n);
    MatrixXd a(n + 3, n + 3);
    for (Index j = 0; j < n; ++j) {
        for (Index i = j; i < n; ++i) {
            const double du = m.u[i] - m.u[j], dv = m.v[i] - m.v[j];
            a(i, j) = Phi(m.method, du * du + dv * dv, m.k);
        }
        a(n, j) = 1.0, a(n + 1, j) = m.u[j], a(n + 2, j) = m.v[j];
    }
    a.bottomRightCorner(3, 3).setZero();
    a.triangularView<Eigen::StrictlyUpper>() = a.transpose();
    return a;
}

// Puts the solution [w; a] of the system into the model.
void SetWeights(WarpModel& m, const MatrixXd& x) {
    const Index n = static_cast<Index>(m.n);
    m.wx.assign(x.col(0).data(), x.col(0).data() + n);
    m.wy.assign(x.col(1).data(), x.col(1).data() + n);
    for (int c = 0; c < 3; ++c)
        m.ax[c] = x(n + c, 0), m.ay[c] = x(n + c, 1);
}

// r = b - A x with x the model's weights: K w + P a is the warp itself at the
// controls (evaluated by the same vector kernels as every other point), and the
// last three rows are the side conditions -P' w.
MatrixXd Residual(const WarpModel& m, const Normalised& nm) {
    const Index n = static_cast<Index>(m.n);
    MatrixXd r(n + 3, 2);
    PointBlock block;
    for (size_t start = 0; start < m.n; start += kBlock) {
        const size_t count = std::min(kBlock, m.n - start);
        const size_t padded = (count + kSumLanes - 1) / kSumLanes * kSumLanes;
        for (size_t j = 0; j < padded; ++j) {
            block.u[j] = j < count ? m.u[start + j] : 0.0;
            block.v[j] = j < count ? m.v[start + j] : 0.0;
        }
        KernelSums(m, block, padded);
        for (size_t j = 0; j < count; ++j) {
            r(static_cast<Index>(start + j), 0) = nm.fx[start + j] - block.fx[j];
            r(static_cast<Index>(start + j), 1) = nm.fy[start + j] - block.fy[j];
        }
    }
    const Eigen::Map<const Eigen::VectorXd> u(m.u.data(), n), v(m.v.data(), n);
    const Eigen::Map<const Eigen::VectorXd> w[2] = {{m.wx.data(), n}, {m.wy.data(), n}};
    for (int c = 0; c < 2; ++c)
        r(n, c) = -w[c].sum(), r(n + 1, c) = -w[c].dot(u), r(n + 2, c) = -w[c].dot(v);
    return r;
}

bool SolveRadial(WarpModel& m, const Normalised& nm, std::string& reason) {
    const Index n = static_cast<Index>(m.n);
    MatrixXd a = SystemMatrix(m);
    MatrixXd b = MatrixXd::Zero(n + 3, 2);
    for (Index i = 0; i < n; ++i)
        b(i, 0) = nm.fx[i], b(i, 1) = nm.fy[i];
    Eigen::PartialPivLU<Eigen::Ref<MatrixXd>> lu(a); // factorised in place
    const double rcond = lu.rcond();
    MatrixXd x = lu.solve(b);
    SetWeights(m, x);
    x += lu.solve(Residual(m, nm)); // one step of iterative refinement
    SetWeights(m, x);
    const MatrixXd r = Residual(m, nm);
    // How far the warp misses its controls, relative to their spread, and how
    // far the weights miss their side conditions, relative to their size and to
    // the spread.
    const double missed = r.topRows(n).cwiseAbs().maxCoeff() / b.cwiseAbs().maxCoeff();
    const double sides =
        r.bottomRows(3).cwiseAbs().maxCoeff() /
        (x.topRows(n).cwiseAbs().colwise().sum().maxCoeff() + b.cwiseAbs().maxCoeff());
    const bool exact = b.cwiseAbs().maxCoeff() == 0 && r.cwiseAbs().maxCoeff() == 0;
    if (!(rcond >= kMinRcond) || !x.allFinite() ||
        !(exact || (missed <= kMaxMissed && !(sides > kMaxMissed)))) {
        reason = FormatCString("the linear system is singular to working precision (reciprocal "
                               "condition %.3g, controls missed by %.3g of their spread)",
                               rcond, missed);
        return false;
    }
    return true;
}

// ------------------------------------------------------------ inverse distance

// Least-squares affine trend of f over the controls (Householder QR of [1 u v]).
void AffineTrend(const WarpModel& m, const Normalised& nm, double ax[3], double ay[3]) {
    const Index n = static_cast<Index>(m.n);
    MatrixXd p(n, 3), f(n, 2);
    for (Index i = 0; i < n; ++i) {
        p(i, 0) = 1.0, p(i, 1) = m.u[i], p(i, 2) = m.v[i];
        f(i, 0) = nm.fx[i], f(i, 1) = nm.fy[i];
    }
    const MatrixXd c = p.colPivHouseholderQr().solve(f);
    for (int k = 0; k < 3; ++k)
        ax[k] = c(k, 0), ay[k] = c(k, 1);
}

void FitInverseDistance(WarpModel& m, const Normalised& nm) {
    AffineTrend(m, nm, m.ax, m.ay);
    m.wx.resize(m.n), m.wy.resize(m.n);
    for (size_t i = 0; i < m.n; ++i) {
        m.wx[i] = nm.fx[i] - (m.ax[0] + m.ax[1] * m.u[i] + m.ax[2] * m.v[i]);
        m.wy[i] = nm.fy[i] - (m.ay[0] + m.ay[1] * m.u[i] + m.ay[2] * m.v[i]);
    }
}

// ------------------------------------------------------------ leave one out

constexpr double kInfinite = std::numeric_limits<double>::infinity();

// Rippa's formula (Adv. Comput. Math. 11, 1999): the error at control k of the
// interpolant fitted without it is c_k / (A^-1)_kk, c the solution of A c = f.
void RadialLeaveOneOut(const WarpModel& m, RPoints& residuals) {
    const Index n = static_cast<Index>(m.n);
    MatrixXd a = SystemMatrix(m);
    Eigen::PartialPivLU<Eigen::Ref<MatrixXd>> lu(a);
    const MatrixXd inverse = lu.inverse();
    for (Index k = 0; k < n; ++k) {
        const double d = inverse(k, k);
        const bool degenerate = Collinear(m.u, m.v, static_cast<size_t>(k)) || d == 0.0;
        residuals[k] = degenerate ? RPoint{kInfinite, kInfinite} : RPoint{m.wx[k] / d, m.wy[k] / d};
    }
}

// The inverse distance interpolant of the model at control k, refitted without it.
RPoint InverseDistanceWithout(const WarpModel& m, size_t k, const Matrix3d& normal,
                              const Eigen::Matrix<double, 3, 2>& moments) {
    const Vector3d pk(1.0, m.u[k], m.v[k]);
    // Control k's own value: the trend plus its residual.
    const double fkx = m.ax[0] + m.ax[1] * m.u[k] + m.ax[2] * m.v[k] + m.wx[k];
    const double fky = m.ay[0] + m.ay[1] * m.u[k] + m.ay[2] * m.v[k] + m.wy[k];
    Eigen::Matrix<double, 3, 2> rhs = moments;
    rhs.col(0) -= pk * fkx, rhs.col(1) -= pk * fky;
    const Eigen::Matrix<double, 3, 2> c = (normal - pk * pk.transpose()).ldlt().solve(rhs);
    double num[2] = {0, 0}, den = 0;
    for (size_t i = 0; i < m.n; ++i) {
        if (i == k) continue;
        const Vector3d pi(1.0, m.u[i], m.v[i]);
        const double fx = m.ax[0] + m.ax[1] * m.u[i] + m.ax[2] * m.v[i] + m.wx[i];
        const double fy = m.ay[0] + m.ay[1] * m.u[i] + m.ay[2] * m.v[i] + m.wy[i];
        const double du = m.u[i] - m.u[k], dv = m.v[i] - m.v[k];
        const double w = 1.0 / (du * du + dv * dv); // controls are distinct
        num[0] += w * (fx - pi.dot(c.col(0))), num[1] += w * (fy - pi.dot(c.col(1)));
        den += w;
    }
    return RPoint{fkx - (pk.dot(c.col(0)) + num[0] / den), fky - (pk.dot(c.col(1)) + num[1] / den)};
}

void InverseDistanceLeaveOneOut(const WarpModel& m, RPoints& residuals) {
    Matrix3d normal = Matrix3d::Zero();
    Eigen::Matrix<double, 3, 2> moments = Eigen::Matrix<double, 3, 2>::Zero();
    for (size_t i = 0; i < m.n; ++i) {
        const Vector3d p(1.0, m.u[i], m.v[i]);
        normal += p * p.transpose();
        moments.col(0) += p * (m.ax[0] + m.ax[1] * m.u[i] + m.ax[2] * m.v[i] + m.wx[i]);
        moments.col(1) += p * (m.ay[0] + m.ay[1] * m.u[i] + m.ay[2] * m.v[i] + m.wy[i]);
    }
    for (size_t k = 0; k < m.n; ++k)
        residuals[k] = Collinear(m.u, m.v, k) ? RPoint{kInfinite, kInfinite}
                                              : InverseDistanceWithout(m, k, normal, moments);
}

} // namespace

bool FitWarp(const RPoints& source, const RPoints& destination, WarpingMethod method,
             WarpModel& model, std::string& reason, double shape) {
    if (!CheckCounts(source, destination, method, reason) ||
        !AllFinite(source, destination, reason))
        return false;
    Normalised nm;
    if (!NormaliseSource(source, nm, reason) || !NormaliseDestination(destination, nm, reason))
        return false;
    if (Collinear(nm.u, nm.v, source.size())) {
        reason = "the source controls are collinear";
        return false;
    }
    WarpModel m;
    m.method = method;
    m.n = source.size();
    m.cx = nm.cx, m.cy = nm.cy, m.inv = nm.inv, m.ox = nm.ox, m.oy = nm.oy;
    m.k = KernelConstant(method, shape > 0 ? shape * m.inv : ShapeInUnitsOfD(m.n));
    m.u = nm.u, m.v = nm.v;
    if (method == WARP_INVERSE_DISTANCE)
        FitInverseDistance(m, nm);
    else if (!SolveRadial(m, nm, reason))
        return false;
    model = std::move(m);
    return true;
}

bool LeaveOneOut(const WarpModel& model, RPoints& residuals, std::string& reason) {
    if (model.method == WARP_NONE) {
        reason = "not calibrated";
        return false;
    }
    if (model.n < 4) {
        reason = FormatCString("%zu controls: leaving one out needs at least 4", model.n);
        return false;
    }
    residuals.assign(model.n, RPoint{0, 0});
    if (model.method == WARP_INVERSE_DISTANCE)
        InverseDistanceLeaveOneOut(model, residuals);
    else
        RadialLeaveOneOut(model, residuals);
    return true;
}

} // namespace Registration
} // namespace KVProj
