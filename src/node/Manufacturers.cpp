// SPDX-License-Identifier: Apache-2.0
// IANA private enterprise numbers of makers of servers, of BMCs and of their firmware, with the names registered there.
#include "node/IpmiIfcIdentity.h"

#include <algorithm>
#include <iterator>

namespace Ipmi
{

namespace
{

struct Maker {
    unsigned int enterprise;
    const char* name;
};

constexpr Maker kMakers[] = {
    {2, "IBM"},
    {9, "ciscoSystems"},
    {11, "Hewlett-Packard"},
    {34, "Cray"},
    {36, "DEC"},
    {42, "Sun Microsystems"},
    {59, "Silicon Graphics, Inc."},
    {63, "Apple Computer, Inc."},
    {107, "Bull Company"},
    {111, "Oracle"},
    {116, "Hitachi, Ltd."},
    {119, "NEC Corporation"},
    {161, "Motorola"},
    {186, "Toshiba Corporation"},
    {193, "Ericsson AB"},
    {211, "Fujitsu Limited"},
    {231, "Fujitsu Technology Solutions GmbH"},
    {232, "Compaq"},
    {236, "Samsung Electronics Co., LTD."},
    {311, "Microsoft"},
    {343, "Intel Corporation"},
    {373, "Tatung Co., Ltd."},
    {399, "Hitachi Computer Products (America), Inc."},
    {458, "Stratus Computer"},
    {476, "Vertiv"},
    {674, "Dell Inc."},
    {789, "Network Appliance Corporation"},
    {2011, "HUAWEI Technology Co.,Ltd"},
    {2254, "Delta Electronics, Inc."},
    {2623, "ASUSTek Computer Inc."},
    {3704, "Advanced Micro Devices, Inc"},
    {3902, "Zhongxing Telecom Co.,ltd."},
    {4128, "ARM Ltd."},
    {4337, "RadiSys Corp."},
    {4413, "Broadcom Limited"},
    {4769, "IBM Corporation"},
    {4843, "Amazon.com Inc."},
    {4881, "Ruijie Networks Co., Ltd."},
    {5703, "NVIDIA Corporation"},
    {5771, "Cisco Systems, Inc."},
    {6165, "Portwell Inc."},
    {6569, "INVENTEC CORPORATION"},
    {6653, "Tyan Computer Corporation"},
    {6876, "VMware Inc."},
    {7154, "Intelligent Platform Management Interface forum"},
    {7244, "Quanta Computer Inc."},
    {9091, "MICRO-STAR INT'L CO., Ltd."},
    {9237, "Viking Enterprise Solutions"},
    {9342, "Penguin Computing"},
    {10297, "Advantech Co., Ltd."},
    {10368, "Fujitsu Technology Solutions GmbH"},
    {10418, "Avocent Corporation"},
    {10437, "Peppercon AG"},
    {10876, "Super Micro Computer Inc."},
    {11102, "OSA Technologies Inc."},
    {11129, "Google, Inc."},
    {11161, "Wistron Corporation"},
    {11183, "Mitac International Corp."},
    {12290, "Celestica International Inc."},
    {12634, "PICMG"},
    {13400, "Vertiv Tech Co.,Ltd."},
    {13427, "Artesyn Embedded Technologies"},
    {13742, "Raritan Computer, Inc."},
    {14485, "Sanmina-SCI Inc"},
    {15000, "Kontron Canada Inc"},
    {15370, "GIGA-BYTE TECHNOLOGY CO., LTD"},
    {16394, "nVent, Schroff GmbH"},
    {17084, "HON HAI PRECISION IND. CO., LTD."},
    {19046, "Lenovo Enterprise Business Group"},
    {20301, "IBM eServer X"},
    {20569, "Inventec Enterprise System Corp."},
    {20974, "American Megatrends, Inc"},
    {21317, "ATEN INTERNATIONAL CO., LTD."},
    {22238, "FOXCONN Technology Group"},
    {23858, "VadaTech Inc."},
    {24339, "ADLINK TECHNOLOGY INC."},
    {24394, "Concurrent Technologies Plc."},
    {25506, "H3C"},
    {26061, "SMART Embedded Computing, Inc."},
    {27500, "Dawning Ltd."},
    {27768, "Gesellschaft für Netzwerk- und Automatisierungs-Technologie mbH (N.A.T.)"},
    {28458, "Nokia Networks"},
    {32022, "Pegatron Computer Inc."},
    {32535, "ZT Systems"},
    {33049, "Mellanox Technologies LTD"},
    {33196, "VITA"},
    {34206, "Penguin Solutions"},
    {34774, "Huawei Symantec Technologies Co.,Ltd"},
    {37945, "Inspur(BeiJing) Electronic Information Industry Co.,Ltd"},
    {38067, "Cray Inc"},
    {40092, "Wiwynn Corporation"},
    {40981, "Facebook, Inc."},
    {41263, "Nutanix Inc."},
    {41475, "Shenzhen Tencent computer system Co., Ltd."},
    {42385, "AIC Inc."},
    {42817, "IBM Platform Firmware Division"},
    {43750, "Jabil Inc"},
    {44040, "IEI Integration Corp."},
    {45065, "Insyde"},
    {45552, "Unisys"},
    {46045, "BYTEDANCE LTD."},
    {47196, "Hewlett Packard Enterprise"},
    {47231, "Foxconn Corporation"},
    {47629, "AAEON Technology Inc."},
    {48512, "Inspur Group Co.,Ltd."},
    {49622, "ASRock Rack Incorporation"},
    {49769, "YADRO"},
    {49871, "OpenBMC Project"},
    {50630, "Compal Electronics Inc."},
    {51188, "Lanner Electronics Inc."},
    {51850, "Inspur Power Commercial Systems Co.,Ltd."},
    {51870, "MSI"},
    {51974, "Raptor Computing Systems, LLC"},
    {52538, "Ampere Computing"},
    {52587, "Edgecore Networks Corporation"},
    {54357, "Suma Technology Co., Ltd."},
    {55380, "Nettrix Information Industry Co., Ltd."},
    {55893, "Hyve Solutions"},
    {58132, "xFusion Digital Technologies Co., Ltd."},
    {60099, "Amazon Web Services Inc"},
};
static_assert(std::ranges::is_sorted(kMakers, {}, &Maker::enterprise));

} // namespace

const char* manufacturerName(unsigned int enterprise)
{
    const auto* maker = std::ranges::lower_bound(kMakers, enterprise, {}, &Maker::enterprise);
    return maker != std::end(kMakers) && maker->enterprise == enterprise ? maker->name : nullptr;
}

} // namespace Ipmi
