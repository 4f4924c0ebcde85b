// Every class of the library that can be created by name: the host's persisted classes and
// the models. A model becomes available to the factories and the archive by its line here.
#include "unitops/contract/stream.hpp"
#include "unitops/models/reaction/equil_rxn.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"
#include "unitops/models/reaction/pf_kinetic_rxn.hpp"
#include "unitops/models/reaction/reaction_op.hpp"
#include "unitops/models/reaction/stoich_rxn.hpp"
#include "unitops/models/separation/absorption.hpp"
#include "unitops/models/separation/cycloning.hpp"
#include "unitops/models/heat_flow/cooling_tower.hpp"
#include "unitops/models/heat_flow/electric_heating.hpp"
#include "unitops/models/heat_flow/flow_devices.hpp"
#include "unitops/models/heat_flow/heat_equipment.hpp"
#include "unitops/models/heat_flow/heat_exchanging.hpp"
#include "unitops/models/heat_flow/heating.hpp"
#include "unitops/models/heat_flow/valves.hpp"
#include "unitops/models/throughput/custom_splitting.hpp"
#include "unitops/models/throughput/mixture_making.hpp"
#include "unitops/models/throughput/stream_mixing.hpp"
#include "unitops/models/throughput/stream_splitting.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"
#include "unitops/models/mass_transfer/batch_crystallize.hpp"
#include "unitops/models/mass_transfer/batch_extract.hpp"
#include "unitops/models/mass_transfer/batch_vaporize.hpp"
#include "unitops/models/vessel/batch_component_splitting.hpp"
#include "unitops/models/vessel/cleaning.hpp"
#include "unitops/models/vessel/decanting.hpp"
#include "unitops/models/vessel/gas_handling.hpp"
#include "unitops/models/vessel/pull_in.hpp"
#include "unitops/models/vessel/storage.hpp"
#include "unitops/models/vessel/tanks.hpp"
#include "unitops/models/vessel/transfer.hpp"
#include "unitops/models/vessel/vessel_heating.hpp"
#include "unitops/models/vessel/vessel_op.hpp"
#include "unitops/models/throughput/flow_design_spec.hpp"
#include "unitops/models/throughput/generic_box.hpp"
#include "unitops/models/separation/centrifugation.hpp"
#include "unitops/models/separation/membrane_filtration.hpp"
#include "unitops/models/separation/diafiltration.hpp"
#include "unitops/models/separation/cloth_filtration.hpp"
#include "unitops/models/separation/rotary_dead_end_filtration.hpp"
#include "unitops/models/separation/air_filtration.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {

const ClassRegistry& RosterClasses() {
    static const ClassRegistry registry = [] {
        ClassRegistry r;
        for (const CRuntimeClass* c : {
                 // Host
                 RUNTIME_CLASS(CTalSModel), RUNTIME_CLASS(CTalStateStream), RUNTIME_CLASS(CTalStream),
                 RUNTIME_CLASS(CTalInputStream), RUNTIME_CLASS(CTalEmissionStream),
                 RUNTIME_CLASS(CTalOperation), RUNTIME_CLASS(CTalEquipment),
                 // Throughput operations and equipment
                 RUNTIME_CLASS(CTalThroughputOp), RUNTIME_CLASS(CTalDiscreteThroughputOp),
                 RUNTIME_CLASS(CTalTwoStreamMixing), RUNTIME_CLASS(CTalThreeStreamMixing),
                 RUNTIME_CLASS(CTalFourStreamMixing), RUNTIME_CLASS(CTalFiveStreamMixing),
                 RUNTIME_CLASS(CTalSixStreamMixing), RUNTIME_CLASS(CTalSevenStreamMixing),
                 RUNTIME_CLASS(CTalEightStreamMixing), RUNTIME_CLASS(CTalNineStreamMixing),
                 RUNTIME_CLASS(CTalThroughputEquipment), RUNTIME_CLASS(CTalDiscreteThroughputEquipment),
                 RUNTIME_CLASS(CTalMixer), RUNTIME_CLASS(CTalFlowSplitter), RUNTIME_CLASS(CTalCompSplitter),
                 RUNTIME_CLASS(CTalGenericBox),
                 // Vessels and tanks
                 RUNTIME_CLASS(CTalVessel), RUNTIME_CLASS(CTalVerticalVessel), RUNTIME_CLASS(CTalHorizontalVessel),
                 RUNTIME_CLASS(CTalStirJacketVessel), RUNTIME_CLASS(CTalBlendingTank), RUNTIME_CLASS(CTalFBTank),
                 RUNTIME_CLASS(CTalReceiverTank), RUNTIME_CLASS(CTalVOLTank), RUNTIME_CLASS(CTalPlasticBag),
                 RUNTIME_CLASS(CTalBatchGenericBox), RUNTIME_CLASS(CTalHorizontalTank),
                 RUNTIME_CLASS(CTalDecantingTank), RUNTIME_CLASS(CTalPFR),
                 // Operations in a vessel and transfers
                 RUNTIME_CLASS(CTalVesselOp), RUNTIME_CLASS(CTalThermalVesselOp), RUNTIME_CLASS(CTalTransferOp),
                 RUNTIME_CLASS(CTalTransferInOp), RUNTIME_CLASS(CTalChargeOp), RUNTIME_CLASS(CTalTransferOutOp),
                 RUNTIME_CLASS(CTalPullOutOp),
                 // Reactions
                 RUNTIME_CLASS(CTalRxnOp), RUNTIME_CLASS(CTalStoichRxnOp), RUNTIME_CLASS(CTalBatchStoichRxnOp),
                 RUNTIME_CLASS(CTalContStoichRxnOp), RUNTIME_CLASS(CTalPFStoichRxnOp),
                 RUNTIME_CLASS(CTalGenBatchStoichRxnOp),
                 // In-line heat transfer
                 RUNTIME_CLASS(CTalHeating), RUNTIME_CLASS(CTalCooling), RUNTIME_CLASS(CTalHeatExchanging),
                 RUNTIME_CLASS(CTalElectricHeating), RUNTIME_CLASS(CTalElectricCooling),
                 RUNTIME_CLASS(CTalHeatExchanger), RUNTIME_CLASS(CTalElectricHeater), RUNTIME_CLASS(CTalElectricCooler),
                 // Heating and cooling in a vessel
                 RUNTIME_CLASS(CTalHeatOp), RUNTIME_CLASS(CTalCoolOp),
                 // Flow and component splitting
                 RUNTIME_CLASS(CTalFlowSplitting), RUNTIME_CLASS(CTalFlow3WaySplitting),
                 RUNTIME_CLASS(CTalFlow4WaySplitting), RUNTIME_CLASS(CTalFlow5WaySplitting),
                 RUNTIME_CLASS(CTalFlow6WaySplitting), RUNTIME_CLASS(CTalFlow7WaySplitting),
                 RUNTIME_CLASS(CTalFlow8WaySplitting), RUNTIME_CLASS(CTalFlow9WaySplitting),
                 RUNTIME_CLASS(CTalComponentSplitting), RUNTIME_CLASS(CTalComp3WaySplitting),
                 RUNTIME_CLASS(CTalComp4WaySplitting), RUNTIME_CLASS(CTalComp5WaySplitting),
                 RUNTIME_CLASS(CTalComp6WaySplitting), RUNTIME_CLASS(CTalComp7WaySplitting),
                 RUNTIME_CLASS(CTalComp8WaySplitting), RUNTIME_CLASS(CTalComp9WaySplitting),
                 RUNTIME_CLASS(CTalBatchComponentSplitting), RUNTIME_CLASS(CTalCustomSplitting),
                 // Pull-in
                 RUNTIME_CLASS(CTalPullInOp),
                 // Gas handling
                 RUNTIME_CLASS(CTalPressurizeOp), RUNTIME_CLASS(CTalEvacuateOp), RUNTIME_CLASS(CTalGasSweepOp),
                 RUNTIME_CLASS(CTalPurgeOp), RUNTIME_CLASS(CTalVentOp),
                 // Cleaning and steaming in place
                 RUNTIME_CLASS(CTalCIPOp), RUNTIME_CLASS(CTalSIPOp), RUNTIME_CLASS(CTalCIPScheme), RUNTIME_CLASS(CTalCIPStep),
                 // Hold, agitate and storage
                 RUNTIME_CLASS(CTalHoldOp), RUNTIME_CLASS(CTalAgitateOp), RUNTIME_CLASS(CTalBatchStorage),
                 RUNTIME_CLASS(CTalBatchSolidsStorage), RUNTIME_CLASS(CTalContinuousSolidsStorage),
                 RUNTIME_CLASS(CTalContinuousStorage), RUNTIME_CLASS(CTalStoringInPlasticBag),
                 // Centrifugation and membrane separations
                 RUNTIME_CLASS(CTalCentrifugation), RUNTIME_CLASS(CTalCentrifuge), RUNTIME_CLASS(CTalDecanterCentrifuge),
                 RUNTIME_CLASS(CTalMembraneFiltration), RUNTIME_CLASS(CTalBatchMembraneFiltration),
                 RUNTIME_CLASS(CTalContMembraneFiltration), RUNTIME_CLASS(CTalMembraneFilter),
                 RUNTIME_CLASS(CTalMicroFilter), RUNTIME_CLASS(CTalUltraFilter), RUNTIME_CLASS(CTalReverseOsmosisFilter),
                 RUNTIME_CLASS(CTalDiafilter), RUNTIME_CLASS(CTalDiafiltration),
                 // Batch separations in a vessel and decanting
                 RUNTIME_CLASS(CTalBatchCrystallizeOp), RUNTIME_CLASS(CTalBatchVaporizeOp),
                 RUNTIME_CLASS(CTalBatchExtractOp), RUNTIME_CLASS(CTalDecanting),
                 // Absorption, stripping and gas cycloning
                 RUNTIME_CLASS(CTalAbsorption), RUNTIME_CLASS(CTalStripping), RUNTIME_CLASS(CTalAbsorber),
                 RUNTIME_CLASS(CTalStripper), RUNTIME_CLASS(CTalCycloning), RUNTIME_CLASS(CTalGasCycloning),
                 RUNTIME_CLASS(CTalCyclone), RUNTIME_CLASS(CTalGasCyclone),
                 // The host's cleaning skids, referred to by the cleaning and steaming operations
                 RUNTIME_CLASS(CTalIPCleaningSkid),
                 // Kinetic and equilibrium reactions
                 RUNTIME_CLASS(CTalKinRxnOp), RUNTIME_CLASS(CTalBatchKinRxnOp), RUNTIME_CLASS(CTalContKinRxnOp),
                 RUNTIME_CLASS(CTalEquilRxnOp), RUNTIME_CLASS(CTalBatchEquilRxnOp), RUNTIME_CLASS(CTalContEquilRxnOp),
                 // Pumps, compressors and fans
                 RUNTIME_CLASS(CTalCFPumping), RUNTIME_CLASS(CTalPDDiaphragmPumping), RUNTIME_CLASS(CTalPDGearPumping),
                 RUNTIME_CLASS(CTalCFCompressing), RUNTIME_CLASS(CTalCFFanning), RUNTIME_CLASS(CTalCFPump),
                 RUNTIME_CLASS(CTalPDDiaphragmPump), RUNTIME_CLASS(CTalPDGearPump), RUNTIME_CLASS(CTalCFCompressor),
                 RUNTIME_CLASS(CTalCFFan),
                 // Valves
                 RUNTIME_CLASS(CTalLGateValveOp), RUNTIME_CLASS(CTalGGateValveOp), RUNTIME_CLASS(CTalLGlobeValveOp),
                 RUNTIME_CLASS(CTalGGlobeValveOp), RUNTIME_CLASS(CTalLButterflyValveOp),
                 RUNTIME_CLASS(CTalGButterflyValveOp), RUNTIME_CLASS(CTalGateValve), RUNTIME_CLASS(CTalGlobeValve),
                 RUNTIME_CLASS(CTalButterflyValve),
                 // Cooling tower
                 RUNTIME_CLASS(CTalCoolingInTower), RUNTIME_CLASS(CTalCoolingTower),
                 // Kinetic reactions along a plug-flow reactor
                 RUNTIME_CLASS(CTalPFKinRxnOp),
                 // Generic boxes
                 RUNTIME_CLASS(CTalGBXStoichRxnOp), RUNTIME_CLASS(CTalPassThroughGBX),
                 // Design specifications
                 RUNTIME_CLASS(CTalDesignSpec), RUNTIME_CLASS(CTalFlowDesignSpec),
                 // Mixings that adjust the flows of their inputs
                 RUNTIME_CLASS(CTalCustomMixing), RUNTIME_CLASS(CTalMixtureMaking),
                 // Cloth filtration and cake wash
                 RUNTIME_CLASS(CTalClothFiltration), RUNTIME_CLASS(CTalCakeWashOp), RUNTIME_CLASS(CTalClothFilter), RUNTIME_CLASS(CTalPlateAndFrameFilter),
                 // Rotary vacuum and dead-end filtration
                 RUNTIME_CLASS(CTalRotaryVacuumFiltration), RUNTIME_CLASS(CTalDeadEndFiltration),
                 RUNTIME_CLASS(CTalRotaryVacuumFilter), RUNTIME_CLASS(CTalDeadEndFilter),
                 // Air filtration
                 RUNTIME_CLASS(CTalAirFiltration), RUNTIME_CLASS(CTalAirFilter),
             }) {
            r.Register(c);
        }
        return r;
    }();
    return registry;
}

}  // namespace unitops
