// The operations whose default only traces and answers. Which of them answer "not implemented" and
// which success looks uneven and is kept so on purpose: the framework relies on it.
#include "cfipluginbase.h"
#include "diag/tracing.h"

namespace kzfi_pdk_4_4 {

int CFiPluginBase::init() {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

void CFiPluginBase::fini() {
    KZFI_TRACE_SCOPE(traceLog);
}

int CFiPluginBase::claim(kzfi_objid*, kzfi_objid***, int*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_CLAIM_NONE;
}

int CFiPluginBase::deportTree(kfi_domain*, kfi_domain*, kfi_accessnode*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::importTreeNode(kfi_domain*, kzfi_objid**, kzfi_objid**, int, kzfi_objid**) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::initNode(kfi_domain*, kfi_domain**, int, kzfi_objid*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::initAltNode(kfi_domain*, kfi_domain*, kfi_domain*, bool) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::dispose(kfi_domain*, kfi_domain*, kfi_splitnode*, kfi_disposition) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::online(kfi_domain*, kfi_domain*, int, kfi_disposition) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::buildAltTree(kfi_domain*, char*, kzfi_objid**, kzfi_objid**, int, kzfi_objid**) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::quiesce(kfi_quiescenode**, int, char*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

void CFiPluginBase::unquiesce(kfi_quiescenode**, int) {
    KZFI_TRACE_SCOPE(traceLog);
}

int CFiPluginBase::make(char*, kfi_splitnode**, int, kzfi_objid***, int*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_ERR_NOT_IMPLEMENTED;
}

int CFiPluginBase::makeSnapshots(CFiSessionPtr&) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_ERR_NOT_IMPLEMENTED;
}

int CFiPluginBase::prepare(char*, kfi_splitnode**, int, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_ERR_NOT_IMPLEMENTED;
}

int CFiPluginBase::prepareSnapshots(CFiSessionPtr&) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::select(char*, kfi_splitnode**, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_ERR_NOT_IMPLEMENTED;
}

int CFiPluginBase::selectSnapshots(CFiSessionPtr&) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::isReady(char*, kfi_splitnode**, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::cacheDisable(kfi_domain*, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

void CFiPluginBase::cacheEnable(kfi_domain*, int) {
    KZFI_TRACE_SCOPE(traceLog);
}

void CFiPluginBase::cacheFlush(kfi_domain*, int) {
    KZFI_TRACE_SCOPE(traceLog);
}

int CFiPluginBase::interpose(kfi_domain*, kzfi_objid**, kzfi_objid***, int*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_INTERPOSE_NONE;
}

int CFiPluginBase::getAttr(kfi_domain*, kfi_domain*, kfi_splitnode*, kfi_attributes*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::getProviderInfo(kfi_provider_list**) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::isValidNodeAssociation(kfi_assoc*, int*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_ERR_NOT_IMPLEMENTED;
}

int CFiPluginBase::checkNodeExistence(kfi_domain*, int*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_ERR_NOT_IMPLEMENTED;
}

int CFiPluginBase::objctl(tstring, CFiObjctlArgs&) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::restore(kzfi_objid**, kzfi_objid**, long, char*, char*, char***, long*, long,
                           long*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_ERR_NOT_IMPLEMENTED;
}

int CFiPluginBase::resync(kzfi_objid**, kzfi_objid**, long, char*, char*, long, long*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::prePrepare(kfi_domain*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::resourceStatus(kzfi_objid*, long, long*, kfi_msg_info**) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::revisitPluginNodes(kfi_pgn_node_list*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::verifyQSCombos(kfi_splitnode**, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::startBuildAltTree(kfi_domain*, kzfi_objid**, void*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::translateResourceNames(char**, int, char**) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::enumerateEnclosures(kfi_enclosure_node_list**, int*, char*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::importResource(char**, char*, char*, char*, int, char**, char*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::format(char**, int, char*, char*, char*, int, char***, int*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::enumerateHostNodes(kfi_host_node_list**, int*, char*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::onlineResource(char**, int, char*, char*, char*, char*, int, char***, int*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::deportResource(char*, char*, char*, char*, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::isParentPgn(char*, int*, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::unformat(char**, int, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::preDeportResource(char*, int, char*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::refreshTree(kfi_domain*, int, int, kfi_resource*, int, int*, void*, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::getBackupset(kfi_domain*, int, char**, int, kfi_bkupset*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::getAppStatus(kfi_domain*, int, void*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::setOpStatus(kfi_domain*, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::setCompStatus(kfi_domain*, int, char*, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::setRestorepaths(kfi_domain*, char*, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::createSnapReplicaNode(kfi_domain*, kfi_snapreplica_ele*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::updateSnapshotId(kfi_domain*, kfi_domain*, kfi_snapreplica_ele*, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::getSnapshotSetId(kfi_domain*, char**) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::preselect(kfi_splitnode*, char*, kfi_splitnode**, int) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::updateSnapshotHandle(CFiSessionPtr&, kfi_snapreplica_ele*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::getSnapdiff(kfi_domain*, kfi_snapreplica_ele*, kfi_snapreplica_ele*,
                               TrieNode_*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

int CFiPluginBase::postDeport(kfi_domain*, kfi_domain*) {
    KZFI_TRACE_SCOPE(traceLog);
    return KZFI_OK;
}

} // namespace kzfi_pdk_4_4
