#pragma once

#include <string>

namespace ReportingServer
{
    struct Request;

    /// A request's attributes, one blank before each, with the passwords masked. Nothing of a request is logged
    /// that did not come through here.
    std::string DescribeAttributes(Request const& request);

    /// A request's JSON body with the passwords masked. A body of which that cannot be said is withheld.
    std::string DescribeBody(Request const& request);
}
