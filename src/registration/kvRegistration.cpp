// CImageRegistration: the exported class that keeps one fitted warp.
#include "kvproj/registration.h"

#include "frame/Diag.h"
#include "frame/Firewall.h"
#include "registration/WarpModel.h"

#include <cmath>
#include <new>
#include <string>

namespace KVProj {

struct CImageRegistration::Impl {
    Registration::WarpModel model;
    std::string reason;
};

CImageRegistration::CImageRegistration() : m_impl(new (std::nothrow) Impl) {}

CImageRegistration::~CImageRegistration() {
    delete m_impl;
}

WarpingMethod CImageRegistration::Calibrate(const RPoints& source, const RPoints& destination,
                                            WarpingMethod method) {
    return KV_GUARDED(WARP_NONE, [&] {
        if (!m_impl) return WARP_NONE;
        m_impl->model = Registration::WarpModel();
        m_impl->reason = "the calibration ran out of memory"; // kept if an allocation throws
        std::string reason;
        if (!Registration::FitWarp(source, destination, method, m_impl->model, reason)) {
            m_impl->reason = reason;
            CTRACE("Image registration refused: %s\n", reason.c_str());
            return WARP_NONE;
        }
        m_impl->reason.clear();
        return method;
    });
}

bool CImageRegistration::Transform(double& x, double& y) const {
    RPoint p{x, y};
    if (!Transform(&p, 1)) return false;
    x = p.x, y = p.y;
    return true;
}

bool CImageRegistration::Transform(RPoint* points, size_t count) const {
    return KV_GUARDED(false, [&] {
        if (!IsCalibrated() || (!points && count > 0)) return false;
        return Registration::EvaluateWarp(m_impl->model, points, count) == 0;
    });
}

bool CImageRegistration::LeaveOneOutResiduals(RPoints& residuals) const {
    return KV_GUARDED(false, [&] {
        if (!m_impl) return false;
        std::string reason;
        if (Registration::LeaveOneOut(m_impl->model, residuals, reason)) return true;
        CTRACE("Image registration residuals: %s\n", reason.c_str());
        return false;
    });
}

bool CImageRegistration::IsCalibrated() const {
    return m_impl && m_impl->model.method != WARP_NONE;
}

WarpingMethod CImageRegistration::Method() const {
    return m_impl ? m_impl->model.method : WARP_NONE;
}

int CImageRegistration::ControlCount() const {
    return IsCalibrated() ? static_cast<int>(m_impl->model.n) : 0;
}

const char* CImageRegistration::Reason() const {
    return m_impl ? m_impl->reason.c_str() : "the registration object could not be created";
}

} // namespace KVProj
